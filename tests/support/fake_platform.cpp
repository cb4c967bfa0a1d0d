#include "fake_platform.h"

#include <QStringList>

#include <algorithm>
#include <deque>
#include <iterator>
#include <map>
#include <memory>
#include <utility>

#include "AlarmlistHandlerDBusConnectorRead.h"
#include "AlarmlistHandlerDBusConnectorWrite.h"
#include "CodesysEventlistHandlerConnector.h"
#include "CodesysLog.h"
#include "DBusPendingReply.h"
#include "EventlistHandlerDBusConnectorRead.h"
#include "EventlistHandlerDBusConnectorWrite.h"

class DBusPendingReply::Private : public std::deque<fake::Answer> {};

struct DeviceBus {
  const bool deviceBus;
};
class EventlistHandlerDBusConnectorRead::Private : public DeviceBus {};
class AlarmlistHandlerDBusConnectorRead::Private : public DeviceBus {};

namespace {

using fake::Call;
using fake::record;

/** Everything that is recorded and scripted. */
struct State {
  std::vector<Call> log;
  std::map<std::string, std::deque<std::vector<fake::Answer>>> answers;
  int platformCalls = 0;
  std::function<void(int)> observe = [](int) {};
};

State& state() {
  static State instance;
  return instance;
}

/** The next answers scripted for `operation`, or these. */
std::vector<fake::Answer> nextAnswers(const std::string& operation, std::vector<fake::Answer> otherwise) {
  auto& script = state().answers[operation];
  if (!script.empty()) {
    otherwise = std::move(script.front());
    script.pop_front();
  }
  return otherwise;
}

/** Record a call that can be made to throw; true, as it is accepted. */
bool perform(const std::string& operation, const QVariantList& arguments, const void* object) {
  record(operation, arguments, object);
  fake::platformCall();
  return true;
}

DBusPendingReply::SharedPointer request(const std::string& operation, const QVariantList& arguments,
                                        const void* object) {
  perform(operation, arguments, object);
  const std::vector<fake::Answer> answers = nextAnswers(operation, {{2, {}}});
  if (answers.empty()) {
    return {};
  }
  const auto reply = QSharedPointer<DBusPendingReply::Private>::create();
  reply->assign(answers.begin(), answers.end());
  return DBusPendingReply::SharedPointer::create(reply);
}

bool flag(const std::string& operation, bool deviceBus, const void* object, bool* value = nullptr) {
  perform(operation, {deviceBus}, object);
  const std::vector<fake::Answer> change = nextAnswers(operation, {});
  if (value != nullptr && !change.empty()) {
    *value = change.front().status != 0;
  }
  return !change.empty();
}

void recordMessage(QtMsgType type, const QMessageLogContext& context, const QString& text) {
  record(type == QtDebugMsg ? "qDebug" : "qWarning",
         {text, QString::fromUtf8(context.category), QString::fromUtf8(context.file),
          QString::fromUtf8(context.function), context.line},
         nullptr);
}

constexpr QChar kItemSeparator(0x1F);

}  // namespace

void fake::record(const std::string& operation, const QVariantList& arguments, const void* object) {
  state().log.push_back({operation, arguments, object});
}

void fake::reset() {
  qInstallMessageHandler(recordMessage);
  atEachCall({});
  state().log.clear();
  state().answers.clear();
}

std::vector<fake::Call> fake::calls(const std::string& operation) {
  std::vector<Call> matching;
  std::copy_if(state().log.begin(), state().log.end(), std::back_inserter(matching),
               [&](const Call& call) { return operation.empty() || call.operation == operation; });
  return matching;
}

void fake::answer(const std::string& operation, const std::vector<Answer>& answers) {
  state().answers[operation].push_back(answers);
}

void fake::atEachCall(std::function<void(int)> observe) {
  state().platformCalls = 0;
  state().observe = observe ? std::move(observe) : [](int) {};
}

void fake::platformCall() {
  state().observe(++state().platformCalls);
}

// The real helpers, where they are compiled to say when one of their functions is entered.
extern "C" void __cyg_profile_func_enter(void* /*function*/, void* /*caller*/) {
  fake::platformCall();
}
extern "C" void __cyg_profile_func_exit(void* /*function*/, void* /*caller*/) {}

DBusPendingReply::DBusPendingReply(const QSharedPointer<Private>& reply) : m_state(reply) {}
DBusPendingReply::~DBusPendingReply() = default;
int DBusPendingReply::isFinished(ErrorContainer& error) {
  perform("isFinished", {error.getErrorCode(), error.getErrorMessage()}, this);
  const fake::Answer present = m_state->front();
  if (m_state->size() > 1 && present.status != 0) {
    m_state->pop_front();
  }
  if (present.status != 0 && present.status != 2) {
    error = ErrorContainer(1, QString::fromUtf8(present.data));
  }
  return present.status;
}
QVariant DBusPendingReply::getReply() {
  perform("getReply", {}, this);
  return m_state->front().data;
}

EventlistHandlerDBusConnectorRead::EventlistHandlerDBusConnectorRead(bool deviceBus) noexcept
    : m_private(std::make_unique<Private>(Private{{deviceBus}})) {}
EventlistHandlerDBusConnectorRead::~EventlistHandlerDBusConnectorRead() = default;
DBusPendingReply::SharedPointer EventlistHandlerDBusConnectorRead::getCompleteEventlist(
    const QString& language) {
  return request("getCompleteEventlist", {language}, this);
}
DBusPendingReply::SharedPointer EventlistHandlerDBusConnectorRead::getPartOfEventlist(
    const QString& language, const QStringList& criteriaA, const QStringList& criteriaB,
    const QStringList& criteriaC, const QStringList& criteriaD, const QDateTime& earliest,
    const QDateTime& latest, const QStringList& keywords, int count) {
  return request("getPartOfEventlist",
                 {language, criteriaA, criteriaB, criteriaC, criteriaD, earliest, latest, keywords, count},
                 this);
}
bool EventlistHandlerDBusConnectorRead::changedFlagEventlist() {
  return flag("changedFlagEventlist", m_private->deviceBus, this);
}

AlarmlistHandlerDBusConnectorRead::AlarmlistHandlerDBusConnectorRead(bool deviceBus) noexcept
    : m_private(std::make_unique<Private>(Private{{deviceBus}})) {}
AlarmlistHandlerDBusConnectorRead::~AlarmlistHandlerDBusConnectorRead() = default;
DBusPendingReply::SharedPointer AlarmlistHandlerDBusConnectorRead::getCompleteAlarmlist(
    const QString& language) {
  return request("getCompleteAlarmlist", {language}, this);
}
DBusPendingReply::SharedPointer AlarmlistHandlerDBusConnectorRead::getAlarmState(const QString& alarmId) {
  return request("getAlarmState", {alarmId, m_private->deviceBus}, this);
}
bool AlarmlistHandlerDBusConnectorRead::changedFlagAlarmlist() {
  return flag("changedFlagAlarmlist", m_private->deviceBus, this);
}
#define CHANGED_FLAG(name)                                    \
  bool AlarmlistHandlerDBusConnectorRead::name(bool& value) { \
    return flag(#name, m_private->deviceBus, this, &value);   \
  }
CHANGED_FLAG(changedFlagAlarmInAlarmlist)
CHANGED_FLAG(changedFlagActiveAlarmInAlarmlist)
CHANGED_FLAG(changedFlagFaultInAlarmlist)
CHANGED_FLAG(changedFlagActiveFaultInAlarmlist)
CHANGED_FLAG(changedFlagCentralDetector)

bool EventlistHandlerDBusConnectorWrite::deleteEventlist() {
  return perform("deleteEventlist", {m_deviceBus}, this);
}
bool AlarmlistHandlerDBusConnectorWrite::acknowledgeVisualAlarm(const QStringList& alarmIds,
                                                                const QString& user) {
  return perform("acknowledgeVisualAlarm", {alarmIds, user, m_deviceBus}, this);
}
bool AlarmlistHandlerDBusConnectorWrite::acknowledgeCentralDetector(const QString& user) {
  return perform("acknowledgeCentralDetector", {user, m_deviceBus}, this);
}
bool CodesysEventlistHandlerConnector::logEvent(EventlistHandlerEnums::EventType type,
                                                EventlistHandlerEnums::State entryState,
                                                const QString& iconType, const QString& moduleName,
                                                const QDateTime& dateTime, const QVariantMap& description,
                                                const QStringList& keywords, const QString& user,
                                                const QString& alarmId) const {
  return perform("logEvent",
                 {int{type}, int{entryState}, iconType, moduleName, dateTime, description, keywords, user,
                  alarmId, m_objectName},
                 this);
}

CodesysLog::CodesysLog(void* logger, std::uint32_t componentId, int logClass, int errorId, int infoId,
                       const char* component, const char* file, const char* function, const char* line)
    : m_logger(logger),
      m_componentId(componentId),
      m_logClass(logClass),
      m_errorId(errorId),
      m_infoId(infoId),
      m_component(component),
      m_file(file),
      m_function(function),
      m_line(line) {
  fake::platformCall();
}
CodesysLog::~CodesysLog() {
  record("CodesysLog",
         {m_logger == nullptr, m_componentId, m_logClass, m_errorId, m_infoId, QString::fromUtf8(m_component),
          QString::fromUtf8(m_file), QString::fromUtf8(m_function), QString::fromUtf8(m_line),
          QStringList(m_text.split(kItemSeparator).mid(1))},
         this);
}
CodesysLog& CodesysLog::operator<<(const QVariant& item) {
  fake::platformCall();
  m_text += kItemSeparator + item.toString();
  return *this;
}
