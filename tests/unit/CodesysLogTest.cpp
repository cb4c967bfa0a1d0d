#include "CodesysLog.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <string>
#include <tuple>

#include "CodesysRuntime.h"

LogAddFunction pfLogAdd = nullptr;

namespace {

std::string s_record;

RTS_RESULT keepRecord(void* logger, std::uint32_t componentId, std::int32_t logClass, std::int32_t errorId,
                      std::int32_t infoId, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  EXPECT_STREQ(format, "%s");
  s_record += va_arg(arguments, const char*);
  va_end(arguments);
  EXPECT_EQ(std::tuple(logger, componentId, logClass, errorId, infoId), std::tuple(nullptr, 7U, 2, 3, 4));
  return 0;
}

void writeRecord() {
  CodesysLog record(nullptr, 7, 2, 3, 4, "Tavroline", "File", "void f()", "12");
  record << QStringLiteral("error:") << QStringLiteral("%s%n %d\r\nforged\u2028line") << 5;
  EXPECT_EQ(s_record, "");
}

TEST(CodesysLog, WritesOneLineWhenItEndsAndTakesForeignTextAsNoFormat) {
  const std::string line = "Tavroline File void f() 12: error: %s%n %d  forged line 5";
  testing::internal::CaptureStderr();
  writeRecord();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), line + "\n");
  pfLogAdd = keepRecord;
  writeRecord();
  EXPECT_EQ(s_record, line);
}

}  // namespace
