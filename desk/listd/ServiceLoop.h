#pragma once

#include <systemd/sd-event.h>

#include <functional>

#include "Options.h"

/** The course of the service: it opens the database, takes its name on the bus and answers calls. */
namespace ServiceLoop {

/**
 * Run both list services until `event` is left with code 0.
 * @param ready called once, when the bus has given the service its name
 * @throws std::exception if the database or the bus cannot be used, or the connection to the bus is lost
 */
void run(const Options& options, sd_event* event, const std::function<void()>& ready);

}  // namespace ServiceLoop
