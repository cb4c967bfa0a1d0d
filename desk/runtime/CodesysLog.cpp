#include "CodesysLog.h"

#include <cstdio>

#include "CodesysRuntime.h"

namespace {

// A record is one line: a line break in a text of the bus or of an application must not look like another
// record.
void replaceControlCharacters(QString& text) {
  for (QChar& character : text) {
    const QChar::Category category = character.category();
    if (category == QChar::Other_Control || category == QChar::Separator_Line ||
        category == QChar::Separator_Paragraph) {
      character = QLatin1Char(' ');
    }
  }
}

}  // namespace

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
      m_line(line) {}

CodesysLog::~CodesysLog() {
  try {
    QString record = QStringLiteral("%1 %2 %3 %4: ")
                         .arg(QString::fromUtf8(m_component), QString::fromUtf8(m_file),
                              QString::fromUtf8(m_function), QString::fromUtf8(m_line)) +
                     m_text;
    replaceControlCharacters(record);
    const QByteArray text = record.toUtf8();
    // "%s", because the record holds texts of PLC applications and of the bus: it must not be used as a
    // format.
    if (pfLogAdd != nullptr) {
      pfLogAdd(m_logger, m_componentId, m_logClass, m_errorId, m_infoId, "%s", text.constData());
    } else {
      std::fprintf(stderr, "%s\n", text.constData());
    }
  } catch (...) {
    // Out of memory: the record is lost; throwing from here would end the process.
  }
}

CodesysLog& CodesysLog::operator<<(const QVariant& item) {
  // A null text means that there is no item yet; an empty first item makes it empty, so that a blank follows
  // it too.
  if (m_text.isNull()) {
    m_text = QLatin1String("");
  } else {
    m_text += QLatin1Char(' ');
  }
  m_text += item.toString();
  return *this;
}
