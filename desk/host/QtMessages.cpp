#include "QtMessages.h"

#include <QByteArray>
#include <QString>

#include <new>
#include <string>

#include "HostLog.h"

namespace {

const char* level(QtMsgType type) {
  switch (type) {
    case QtDebugMsg:
      return "debug";
    case QtInfoMsg:
      return "info";
    case QtWarningMsg:
      return "warning";
    case QtCriticalMsg:
      return "critical";
    case QtFatalMsg:
      return "fatal";
  }
  return "message";
}

void handle(QtMsgType type, const QMessageLogContext& context, const QString& text) try {
  std::string line = text.toUtf8().toStdString();
  if (context.file != nullptr) {
    line += " (" + std::string(context.file) + ':' + std::to_string(context.line) + ')';
  }
  HostLog::write(level(type), line);
} catch (const std::bad_alloc&) {
  // The message is lost: Qt's code, which calls this, must not be left by an exception.
}

}  // namespace

QtMessages::QtMessages() : m_before(qInstallMessageHandler(handle)) {}

QtMessages::~QtMessages() {
  qInstallMessageHandler(m_before);
}
