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

/** The writers' object. */
constexpr char kMessagesPath[] = "/org/tavroline/Messages";
constexpr char kMessagesInterface[] = "org.tavroline.Messages1";

/** Error reply: an argument is out of range or malformed. */
constexpr char kErrorInvalid[] = "org.tavroline.Error.Invalid";

/** Error reply: nothing of this call could be stored now. The client tries it again later. */
constexpr char kErrorStorage[] = "org.tavroline.Error.Storage";

/** Error reply to Resume: another connection uses the session, or it belongs to another user. To the other
 * writing calls: this connection has not resumed the session. */
constexpr char kErrorNotNow[] = "org.tavroline.Error.NotNow";

/** Error reply: the method is of an older version of the interface. */
constexpr char kErrorVersion[] = "org.tavroline.Error.Version";

/** Why a message was refused for good. */
constexpr unsigned kRefusedInvalid = 1;
constexpr unsigned kRefusedFull = 2;

/** Names of a client's message counters on the bus, in the order in which client and service keep them. */
constexpr std::array<const char*, 12> kCounterNames = {"accepted", "delivered", "pending",     "superseded",
                                                       "dropped",  "refused",   "rejected",    "endsService",
                                                       "unload",   "queueFull", "outOfMemory", "unsendable"};

}  // namespace Tavroline::ListServiceNames
