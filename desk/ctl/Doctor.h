#pragma once

/** Finds out why nothing arrives: looks at bus, service, policy, interface version and clock, in this order,
 * and says of each that it is well, or why not and what to do. It changes nothing. */
namespace Doctor {

/** Print the findings, one line each. Throws ClientError when one of them is bad. [any-thread] */
void examine(bool json);

}  // namespace Doctor
