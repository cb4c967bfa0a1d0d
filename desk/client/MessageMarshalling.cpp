#include "MessageMarshalling.h"

#include "ListServiceNames.h"

namespace Tavroline {

using namespace ListServiceNames;

namespace {

struct Method {
  const char* path;
  const char* interface;
  const char* member;
};

std::unique_ptr<CallWriter> begin(const CallTarget& target, const Method& method) {
  return std::make_unique<CallWriter>(target.bus, target.owner, method.path, method.interface, method.member);
}

Method methodOf(Message::Kind kind) {
  switch (kind) {
    case Message::Kind::LogEntry:
      return {kEventListPath, kEventListInterface, "Log"};
    case Message::Kind::DeleteEvents:
      return {kEventListPath, kEventListInterface, "Delete"};
    case Message::Kind::AcknowledgeAlarms:
      return {kAlarmListPath, kAlarmListInterface, "AcknowledgeAlarms"};
    case Message::Kind::AcknowledgeDetector:
      break;
  }
  return {kAlarmListPath, kAlarmListInterface, "AcknowledgeDetector"};
}

void writeEntry(CallWriter& call, const Message& message) {
  const qint64 time =
      message.dateTime.isValid() ? message.dateTime.toMSecsSinceEpoch() : message.handedOverAt;
  call.int32(message.eventType)
      .int32(message.state)
      .text(message.iconType)
      .text(message.moduleName)
      .int64(time)
      .map(message.description)
      .texts(message.texts)
      .text(message.user)
      .text(message.alarmId)
      .text(message.objectName);
}

}  // namespace

std::unique_ptr<CallWriter> marshal(const CallTarget& target, const QByteArray& session,
                                    const Message& message) {
  auto call = begin(target, methodOf(message.kind));
  call->text(QString::fromLatin1(session)).uint64(message.sequence);
  switch (message.kind) {
    case Message::Kind::LogEntry:
      writeEntry(*call, message);
      break;
    case Message::Kind::DeleteEvents:
      break;
    case Message::Kind::AcknowledgeAlarms:
      call->texts(message.texts).text(message.user);
      break;
    case Message::Kind::AcknowledgeDetector:
      call->text(message.user);
      break;
  }
  return call;
}

std::unique_ptr<CallWriter> marshal(const CallTarget& target, const Request& request) {
  switch (request.kind) {
    case Request::Kind::EventList: {
      auto call = begin(target, {kEventListPath, kEventListInterface, "GetList"});
      call->text(request.text).uint32(request.count);
      return call;
    }
    case Request::Kind::AlarmList: {
      auto call = begin(target, {kAlarmListPath, kAlarmListInterface, "GetList"});
      call->text(request.text);
      return call;
    }
    case Request::Kind::AlarmState:
      break;
  }
  auto call = begin(target, {kAlarmListPath, kAlarmListInterface, "GetAlarmState"});
  call->text(request.text);
  return call;
}

std::unique_ptr<CallWriter> marshal(const CallTarget& target, const QByteArray& session, const Books& books) {
  auto call = begin(target, {kEventListPath, kEventListInterface, "ReportBooks"});
  call->text(QString::fromLatin1(session)).counters(kBookFigures, books.figures()).expectNoReply();
  return call;
}

}  // namespace Tavroline
