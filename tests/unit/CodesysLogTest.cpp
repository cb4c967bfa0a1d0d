#include "CodesysLog.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "CodesysRuntime.h"

LogAddFunction pfLogAdd = nullptr;

namespace {

using Records = std::vector<std::string>;
Records g_records;

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
  for (const LogAddFunction log : {LogAddFunction{nullptr}, LogAddFunction{keepRecord}}) {
    pfLogAdd = log;
    testing::internal::CaptureStderr();
    {
      CodesysLog record(nullptr, 7, 2, 3, 4, "Tavroline", "File", "void f()", "12");
      record << QStringLiteral("error:") << QStringLiteral("%s%n %d\r\nforged\u2028line") << 5;
      EXPECT_TRUE(g_records.empty());
    }
    const std::string line = "Tavroline File void f() 12: error: %s%n %d  forged line 5";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), log == nullptr ? line + "\n" : "");
    EXPECT_EQ(g_records, log == nullptr ? Records{} : Records{"7 2 3 4 | " + line});
  }
}

}  // namespace
