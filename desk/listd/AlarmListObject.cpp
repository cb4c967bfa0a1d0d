#include "AlarmListObject.h"

#include "CallError.h"
#include "ListServiceNames.h"

namespace {

CallBatch& batchOf(void* userdata) {
  return *static_cast<CallBatch*>(userdata);
}

int onGetList(sd_bus_message* call, void* userdata, sd_bus_error* error) {
  return batchOf(userdata).answer(call, error, [userdata](CallReader& arguments, sd_bus_message* reply) {
    const QByteArray list = batchOf(userdata).service().alarms().list(arguments.text());
    checkBus(sd_bus_message_append_basic(reply, SD_BUS_TYPE_STRING, list.constData()));
  });
}

int onGetAlarmState(sd_bus_message* call, void* userdata, sd_bus_error* error) {
  return batchOf(userdata).answer(call, error, [userdata](CallReader& arguments, sd_bus_message* reply) {
    const QByteArray state = batchOf(userdata).service().alarms().alarmState(arguments.text());
    checkBus(sd_bus_message_append_basic(reply, SD_BUS_TYPE_STRING, state.constData()));
  });
}

int onAcknowledgeAlarms(sd_bus_message* call, void* userdata, sd_bus_error* error) {
  return batchOf(userdata).change(call, error, [userdata](CallReader& arguments) {
    const Sender sender = arguments.sender();
    const QStringList alarmIds = arguments.texts(CallReader::kMaxIds);
    const QString user = arguments.text();
    batchOf(userdata).service().acknowledgeAlarms(sender, alarmIds, user);
  });
}

int onAcknowledgeDetector(sd_bus_message* call, void* userdata, sd_bus_error* error) {
  return batchOf(userdata).change(call, error, [userdata](CallReader& arguments) {
    const Sender sender = arguments.sender();
    const QString user = arguments.text();
    batchOf(userdata).service().acknowledgeDetector(sender, user);
  });
}

int onGetState(sd_bus_message* call, void* userdata, sd_bus_error* error) {
  return batchOf(userdata).answer(call, error, [userdata](CallReader&, sd_bus_message* reply) {
    const ListSnapshot state = batchOf(userdata).service().snapshot();
    const AlarmSummary& s = state.summary;
    checkBus(sd_bus_message_append(reply, "t(bbbb)b", state.alarmGeneration, int{s.alarm}, int{s.activeAlarm},
                                   int{s.fault}, int{s.activeFault}, int{state.detector}));
  });
}

// The table's macros are written for C.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
constexpr sd_bus_vtable kMethods[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD_WITH_ARGS("GetList", SD_BUS_ARGS("s", language), SD_BUS_RESULT("s", list), onGetList,
                            SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("GetAlarmState", SD_BUS_ARGS("s", alarm_id), SD_BUS_RESULT("s", state),
                            onGetAlarmState, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("AcknowledgeAlarms",
                            SD_BUS_ARGS("s", session, "t", sequence, "as", alarm_ids, "s", user),
                            SD_BUS_NO_RESULT, onAcknowledgeAlarms, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("AcknowledgeDetector", SD_BUS_ARGS("s", session, "t", sequence, "s", user),
                            SD_BUS_NO_RESULT, onAcknowledgeDetector, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("GetState", SD_BUS_NO_ARGS,
                            SD_BUS_RESULT("t", generation, "(bbbb)", summary, "b", detector), onGetState,
                            SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_SIGNAL_WITH_ARGS("Changed", SD_BUS_ARGS("t", generation), 0),
    SD_BUS_SIGNAL_WITH_ARGS("SummaryChanged", SD_BUS_ARGS("(bbbb)", summary), 0),
    SD_BUS_SIGNAL_WITH_ARGS("DetectorChanged", SD_BUS_ARGS("b", state), 0),
    SD_BUS_VTABLE_END,
};
#pragma GCC diagnostic pop

}  // namespace

void addAlarmListObject(sd_bus* bus, CallBatch& batch) {
  checkBus(sd_bus_add_object_vtable(bus, nullptr, Tavroline::ListServiceNames::kAlarmListPath,
                                    Tavroline::ListServiceNames::kAlarmListInterface, kMethods, &batch));
}
