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

/** Names of the service's error replies. */
constexpr char kErrorInvalid[] = "org.tavroline.Error.Invalid";  ///< an argument is out of range or malformed
constexpr char kErrorFull[] = "org.tavroline.Error.Full";        ///< the alarm list is full
constexpr char kErrorStorage[] =
    "org.tavroline.Error.Storage";  ///< could not be stored now; send it again, in order

/** Names of a client's message counters, in the order that client and service use. */
constexpr std::array<const char*, 12> kBookFigures = {"accepted",   "delivered", "pending",    "superseded",
                                                      "dropped",    "refused",   "unsendable", "rejected",
                                                      "unanswered", "unload",    "queueFull",  "outOfMemory"};

}  // namespace Tavroline::ListServiceNames
