#include "tavroline/filter.h"

#include <cstdlib>

#include "UnitSupport.h"

namespace {

struct FilterFunctionsTest : ReaderTest {};
INSTANTIATE_TEST_SUITE_P(Of, FilterFunctionsTest, testing::Values(&kEventKind, &kAlarmKind));

/** A call and the module names of the entries that pass after it. */
struct Step {
  const char* name;
  void (*act)(TavrolineHandle);
  const char* passing;
};
constexpr unsigned int kNoon = 1714564800;  // of 1 May 2024, counted on the wall clock

// Each step builds on those before it.
// clang-format off
#define STEP(passing, act) {#act, [](TavrolineHandle handle) { act; }, passing}
const Step kSteps[] = {
    STEP("c", call<addfiltereventtype_ext>(handle, 2)),
    STEP("abcfg", call<addfiltereventtype_ext>(handle, 0)),
    STEP("abfg", call<clearfiltereventtype_ext>(handle, 2)),
    STEP("abcdefg", call<resetfiltereventtype_ext>(handle)),
    STEP("c", call<addfilterkeyword_ext>(handle, 0, "x")),
    STEP("cg", call<addfilterkeyword_ext>(handle, 0, "\uFEFFx")),  // a byte order mark is a character
    STEP("c", call<clearfilterkeyword_ext>(handle, 0, "\uFEFFx")),
    STEP("ce", call<addfilterkeyword_ext>(handle, 0, nullptr)),  // an empty keyword
    STEP("c", call<clearfilterkeyword_ext>(handle, 0, nullptr)),
    STEP("", call<addfilterkeyword_ext>(handle, -3, "x")),
    STEP("c", call<resetfilterkeyword_ext>(handle, 1)),
    STEP("abcdefg", call<resetfilterkeyword_ext>(handle, 0)),
    STEP("cef", call<setfiltertime_ext>(handle, kNoon, kNoon - 1)),
    STEP("cdf", call<setfiltertime_ext>(handle, kNoon + 1, kNoon)),
    STEP("abcdefg", call<resetfiltertime_ext>(handle)),
    STEP("", call<setfiltertime_ext>(handle, 0, kNoon)),  // 0 is a bound like any other value
    STEP("abcdefg", call<resetfilterall_ext>(handle))};
// clang-format on

TEST_P(FilterFunctionsTest, ActOnEitherKindAtTheNextCopyWithoutANewLoad) {
  setenv("TZ", "CET-1", 1);
  const Reader reader(kind);
  call<setlistreadlanguage_ext>(reader.handle, "\uFEFFde");
  reader.load(QByteArray(R"([{"ModuleName":"a"},
      {"ModuleName":"b","EventType":"2","Keywords":"x","LocalTime":"none"},
      {"ModuleName":"c","EventType":2,"Keywords":["y","x"],"LocalTime":"2024-05-01T12:00:00.000"},
      {"ModuleName":"d","EventType":65538,"Keywords":["X","xy"],"LocalTime":"2024-05-01T12:00:00.001"},
      {"ModuleName":"e","EventType":-7,"Keywords":[5],"LocalTime":"2024-05-01T11:59:59.999"},
      {"ModuleName":"f","EventType":0.5,"Keywords":[],"LocalTime":"2024-05-01T11:00:00.000Z"},
      {"ModuleName":"g","Keywords":["@x"]}])")
                  .replace('@', "\uFEFF"));
  for (const Step& step : kSteps) {
    step.act(reader.handle);
    EXPECT_EQ(kind.copy(reader.handle, 20).modules, step.passing) << step.name;
  }
  const auto requests = fake::calls(kind.request());
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests[0].arguments, QVariantList{QStringLiteral("\uFEFFde")});
}

}  // namespace
