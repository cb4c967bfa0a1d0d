#include "tavroline/filter.h"

#include <cstdlib>
#include <functional>

#include "UnitSupport.h"

namespace {

struct FilterFunctions : ReaderTest {};
INSTANTIATE_TEST_SUITE_P(Of, FilterFunctions, testing::Values(&kEventKind, &kAlarmKind));

// Each step builds on those before it and says which entries pass then.
TEST_P(FilterFunctions, ActOnEitherKindAtTheNextCopyWithoutANewLoad) {
  setenv("TZ", "CET-1", 1);
  const Reader reader(kind);
  reader.load(R"([{"ModuleName":"a"},
      {"ModuleName":"b","EventType":"2","Keywords":"x","LocalTime":"none"},
      {"ModuleName":"c","EventType":2,"Keywords":["y","x"],"LocalTime":"2024-05-01T12:00:00.000"},
      {"ModuleName":"d","EventType":65538,"Keywords":["X","xy"],"LocalTime":"2024-05-01T12:00:00.001"},
      {"ModuleName":"e","EventType":-7,"Keywords":[5],"LocalTime":"2024-05-01T11:59:59.999"},
      {"ModuleName":"f","EventType":0.5,"Keywords":[],"LocalTime":"2024-05-01T11:00:00.000Z"}])");
  const TavrolineHandle handle = reader.handle;
  const unsigned int noon = 1714564800;  // of 1 May 2024, counted on the wall clock
  const std::pair<std::function<void()>, const char*> steps[] = {
      {[=] { call<addfiltereventtype_ext>(handle, 2); }, "c"},
      {[=] { call<addfiltereventtype_ext>(handle, 0); }, "abcf"},
      {[=] { call<clearfiltereventtype_ext>(handle, 2); }, "abf"},
      {[=] { call<resetfiltereventtype_ext>(handle); }, "abcdef"},
      {[=] { call<addfilterkeyword_ext>(handle, 0, "x"); }, "c"},
      {[=] { call<addfilterkeyword_ext>(handle, 0, "xy"); }, "cd"},
      {[=] { call<clearfilterkeyword_ext>(handle, 0, "x"); }, "d"},
      {[=] { call<addfilterkeyword_ext>(handle, 0, nullptr); }, "de"},  // an empty keyword
      {[=] { call<clearfilterkeyword_ext>(handle, 0, "xy"); }, "e"},
      {[=] { call<clearfilterkeyword_ext>(handle, 0, nullptr); }, "abcdef"},
      {[=] { call<addfilterkeyword_ext>(handle, -3, "x"); }, "abdef"},
      {[=] { call<addfilterkeyword_ext>(handle, 0, "x"); }, ""},
      {[=] { call<resetfilterkeyword_ext>(handle, 1); }, "c"},
      {[=] { call<resetfilterkeyword_ext>(handle, 0); }, "abcdef"},
      {[=] { call<setfiltertime_ext>(handle, noon, noon); }, "cf"},  // both bounds inclusive
      {[=] { call<setfiltertime_ext>(handle, noon, noon - 1); }, "cef"},
      {[=] { call<setfiltertime_ext>(handle, noon + 1, noon); }, "cdf"},
      {[=] { call<addfiltereventtype_ext>(handle, 2); }, "c"},
      {[=] { call<addfilterkeyword_ext>(handle, 1, "y"); }, ""},
      {[=] { call<resetfiltertime_ext>(handle); }, ""},
      {[=] { call<resetfilterall_ext>(handle); }, "abcdef"},
      {[=] { call<setfiltertime_ext>(handle, 0, noon); }, ""}};  // 0 is a bound like any other value
  for (const auto& [act, passing] : steps) {
    act();
    EXPECT_EQ(kind.copy(handle, 20).modules, passing) << "step " << &act - &steps[0].first;
  }
  EXPECT_EQ(fake::calls(kind.request()).size(), 1U);
}

}  // namespace
