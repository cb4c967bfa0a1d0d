#pragma once

#include <array>

/**
 * Names of the list services on the bus. Their methods, arguments and signals are described in
 * org.tavroline.ListService1.xml beside this file; a test compares that with the running service.
 */
namespace Tavroline::ListServiceNames {

constexpr char kService[] = "org.tavroline.ListService1";

constexpr char kEventListPath[] = "/org/tavroline/EventList";
constexpr char kEventListInterface[] = "org.tavroline.EventList1";

constexpr char kAlarmListPath[] = "/org/tavroline/AlarmList";
constexpr char kAlarmListInterface[] = "org.tavroline.AlarmList1";

/** Error reply: an argument is out of range or malformed. */
constexpr char kErrorInvalid[] = "org.tavroline.Error.Invalid";

/** Error reply: the call turns a new alarm on, but the alarm list is full. */
constexpr char kErrorFull[] = "org.tavroline.Error.Full";

/** Error reply: the storage failed. The client sends this call and all later ones again, in their order. */
constexpr char kErrorStorage[] = "org.tavroline.Error.Storage";

/** Names of a client's message counters, in the order in which client and service keep them. */
constexpr std::array<const char*, 12> kBookFigures = {"accepted",   "delivered", "pending",    "superseded",
                                                      "dropped",    "refused",   "unsendable", "rejected",
                                                      "unanswered", "unload",    "queueFull",  "outOfMemory"};

}  // namespace Tavroline::ListServiceNames
