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

/** Errors that the service answers with, beside those of the bus itself. */
constexpr char kErrorInvalid[] = "org.tavroline.Error.Invalid";  ///< an argument is out of range or malformed
constexpr char kErrorFull[] = "org.tavroline.Error.Full";  ///< the alarm list has no room for one more alarm
constexpr char kErrorStorage[] =
    "org.tavroline.Error.Storage";  ///< could not be kept now; send it again, in order

/** Names of the figures in a client's books, in the order in which both ends keep them. */
constexpr std::array<const char*, 12> kBookFigures = {"accepted",   "delivered", "pending",    "superseded",
                                                      "dropped",    "refused",   "unsendable", "rejected",
                                                      "unanswered", "unload",    "queueFull",  "outOfMemory"};

}  // namespace Tavroline::ListServiceNames
