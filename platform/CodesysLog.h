#pragma once

#include <QString>
#include <QVariant>

#include <cstdint>

/**
 * One record of the runtime log: constructed with its origin, filled by streaming, written by the destructor.
 *
 * The record's text is the streamed items one after another, separated by one blank. The destructor passes
 * the record to pfLogAdd, which is null until the runtime's import call; the text is never used as a format,
 * because it holds texts of the PLC application and of the bus. The destructor throws nothing. [any-thread]
 */
class CodesysLog {
 public:
  /**
   * @param logger the runtime's log to write to, null for the standard one
   * @param component, file, function, line the origin, constant texts that outlive the object
   */
  CodesysLog(void* logger, std::uint32_t componentId, int logClass, int errorId, int infoId,
             const char* component, const char* file, const char* function, const char* line);
  ~CodesysLog();
  CodesysLog(const CodesysLog&) = delete;
  CodesysLog& operator=(const CodesysLog&) = delete;

  CodesysLog& operator<<(const QVariant& item);

 private:
  void* m_logger;
  std::uint32_t m_componentId;
  int m_logClass;
  int m_errorId;
  int m_infoId;
  const char* m_component;
  const char* m_file;
  const char* m_function;
  const char* m_line;
  QString m_text;
};
