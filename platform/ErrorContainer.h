#pragma once

#include <QString>

/** An error code with its text, set by DBusPendingReply::isFinished(). A plain value. [any-thread] */
class ErrorContainer {
 public:
  ErrorContainer(int code, const QString& message) : m_code(code), m_message(message) {}

  static int getErrorCodeNoError() { return 0; }
  int getErrorCode() const { return m_code; }
  QString getErrorMessage() const { return m_message; }

 private:
  int m_code;
  QString m_message;
};
