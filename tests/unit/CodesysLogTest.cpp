#include "CodesysLog.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "CodesysRuntime.h"

LogAddFunction pfLogAdd = nullptr;

namespace {

std::vector<std::string> g_records;

RTS_RESULT keepRecord(void* logger, std::uint32_t componentId, std::int32_t logClass, std::int32_t errorId,
                      std::int32_t infoId, const char* format, ...) {
  char text[200];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  g_records.push_back(std::to_string(componentId) + " " + std::to_string(logClass) + " " +
                      std::to_string(errorId) + " " + std::to_string(infoId) +
                      (logger == nullptr ? " | " : " own | ") + text);
  return 0;
}

TEST(CodesysLog, WritesOneLineWhenItEndsAndTakesForeignTextAsNoFormat) {
  pfLogAdd = keepRecord;
  {
    CodesysLog record(nullptr, 7, 2, 3, 4, "Tavroline", "File", "void f()", "12");
    record << QStringLiteral("error:") << QStringLiteral("%s%n %d\r\nforged\u2028line") << 5;
    EXPECT_TRUE(g_records.empty());
  }
  EXPECT_EQ(g_records,
            std::vector<std::string>{"7 2 3 4 | Tavroline File void f() 12: error: %s%n %d  forged line 5"});
}

TEST(CodesysLog, WritesToStandardErrorBeforeTheImport) {
  pfLogAdd = nullptr;
  testing::internal::CaptureStderr();
  CodesysLog(nullptr, 1, 2, 0, 0, "C", "F", "f", "1") << QStringLiteral("%s early");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "C F f 1: %s early\n");
}

}  // namespace
