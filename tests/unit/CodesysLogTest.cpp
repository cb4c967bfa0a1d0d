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
  const int length = std::snprintf(text, sizeof text, "%d %u %d %d %d ", logger == nullptr, componentId,
                                   logClass, errorId, infoId);
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text + length, sizeof text - std::size_t(length), format, arguments);
  va_end(arguments);
  g_records.emplace_back(text);
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
    EXPECT_EQ(g_records, decltype(g_records)(log == nullptr ? 0 : 1, "1 7 2 3 4 " + line));
  }
}

}  // namespace
