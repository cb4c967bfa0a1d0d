#include "CallBatch.h"

#include <cstring>

#include "CallError.h"
#include "ListServiceNames.h"

using namespace Tavroline::ListServiceNames;

void checkBus(int result) {
  if (result < 0) {
    throw std::runtime_error(std::strerror(-result));
  }
}

CallBatch::CallBatch(sd_bus* bus, ListService& service)
    : m_bus(bus), m_service(service), m_reported(service.snapshot()) {}

int CallBatch::change(sd_bus_message* call, sd_bus_error* error,
                      const std::function<void(CallReader&)>& change) {
  try {
    CallReader arguments(call);
    change(arguments);
    m_calls.emplace_back(sd_bus_message_ref(call));
    return 1;
  } catch (const std::exception& cause) {
    return refuse(error, cause);
  }
}

int CallBatch::answer(sd_bus_message* call, sd_bus_error* error,
                      const std::function<void(CallReader&, sd_bus_message*)>& answer) {
  store();
  signalChanges();  // a query must not show a change before its signal
  try {
    CallReader arguments(call);
    sd_bus_message* reply = nullptr;
    checkBus(sd_bus_message_new_method_return(call, &reply));
    const BusMessage owned(reply);
    answer(arguments, reply);
    checkBus(sd_bus_send(m_bus, reply, nullptr));
    return 1;
  } catch (const std::exception& cause) {
    return refuse(error, cause);
  }
}

void CallBatch::finish() {
  store();
  if (timeout() == 0) {
    signalChanges();
  }
}

int CallBatch::timeout() const {
  if (!m_unsignalled) {
    return -1;
  }
  const qint64 rest = m_sinceSignals.isValid() ? kSignalInterval - m_sinceSignals.elapsed() : 0;
  return static_cast<int>(qMax<qint64>(rest, 0));
}

void CallBatch::store() {
  if (m_calls.empty()) {
    return;
  }
  try {
    m_service.commit();
  } catch (const std::exception& cause) {
    fail(cause.what());
    return;
  }
  // If sd-bus cannot send, the connection is lost and the main loop ends the service.
  for (const BusMessage& call : m_calls) {
    sd_bus_reply_method_return(call.get(), "");
  }
  m_calls.clear();
  m_unsignalled = true;
}

int CallBatch::refuse(sd_bus_error* error, const std::exception& cause) {
  ++m_rejected;
  if (const auto* refusal = dynamic_cast<const CallError*>(&cause)) {
    return sd_bus_error_set(error, refusal->name(), refusal->what());
  }
  fail(cause.what());
  return sd_bus_error_set(error, kErrorStorage, cause.what());
}

void CallBatch::fail(const char* text) {
  m_service.rollback();
  m_rejected += m_calls.size();
  for (const BusMessage& call : m_calls) {
    sd_bus_reply_method_errorf(call.get(), kErrorStorage, "%s", text);
  }
  m_calls.clear();
}

void CallBatch::signalChanges() {
  if (!m_unsignalled) {
    return;
  }
  m_sinceSignals.start();
  ListSnapshot now;
  try {
    now = m_service.snapshot();
  } catch (const std::exception&) {
    return;  // the next call tries again
  }
  if (now.eventGeneration != m_reported.eventGeneration) {
    sd_bus_emit_signal(m_bus, kEventListPath, kEventListInterface, "Changed", "t", now.eventGeneration);
  }
  if (now.alarmGeneration != m_reported.alarmGeneration) {
    sd_bus_emit_signal(m_bus, kAlarmListPath, kAlarmListInterface, "Changed", "t", now.alarmGeneration);
  }
  if (!(now.summary == m_reported.summary)) {
    const AlarmSummary& s = now.summary;
    sd_bus_emit_signal(m_bus, kAlarmListPath, kAlarmListInterface, "SummaryChanged", "(bbbb)", int{s.alarm},
                       int{s.activeAlarm}, int{s.fault}, int{s.activeFault});
  }
  if (now.detector != m_reported.detector) {
    sd_bus_emit_signal(m_bus, kAlarmListPath, kAlarmListInterface, "DetectorChanged", "b", int{now.detector});
  }
  m_reported = now;
  m_unsignalled = false;
}
