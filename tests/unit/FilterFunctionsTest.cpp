#include "tavroline/filter.h"

#include <QDateTime>

#include <functional>

#include "UnitSupport.h"

namespace {

struct FilterFunctions : ReaderTest {};
INSTANTIATE_TEST_SUITE_P(Of, FilterFunctions, testing::Values(&kEventKind, &kAlarmKind));

// Each step builds on those before it and says how many of three entries pass then.
TEST_P(FilterFunctions, ActOnEitherKindAtTheNextCopyWithoutANewLoad) {
  const Reader reader(kind);
  reader.load(R"([{"EventType":0,"Keywords":["a"],"LocalTime":"2024-05-01T11:00:00.000"},
                  {"EventType":2,"Keywords":["b"],"LocalTime":"2024-05-01T12:00:00.000"},
                  {"EventType":2,"Keywords":["c"],"LocalTime":"2024-05-01T13:00:00.000"}])");
  const TavrolineHandle handle = reader.handle;
  const qint64 noon = QDateTime::fromString("2024-05-01T12:00:00Z"_q, Qt::ISODate).toSecsSinceEpoch();
  const std::pair<std::function<void()>, int> steps[] = {
      {[=] { call<addfiltereventtype_ext>(handle, 2); }, 2},
      {[=] { call<addfiltereventtype_ext>(handle, 2); }, 2},  // kept once
      {[=] { call<addfilterkeyword_ext>(handle, 0, "b"); }, 1},
      {[=] { call<clearfilterkeyword_ext>(handle, 0, "B"); }, 1},
      {[=] { call<clearfiltereventtype_ext>(handle, 2); }, 1},
      {[=] { call<addfilterkeyword_ext>(handle, 0, "a"); }, 2},
      {[=] { call<clearfilterkeyword_ext>(handle, 0, "b"); }, 1},
      {[=] { call<resetfilterkeyword_ext>(handle, 0); }, 3},
      {[=] { call<addfilterkeyword_ext>(handle, 0, nullptr); }, 0},  // an empty keyword
      {[=] { call<clearfilterkeyword_ext>(handle, 0, nullptr); }, 3},
      {[=] { call<addfilterkeyword_ext>(handle, -3, "b"); }, 2},
      {[=] { call<resetfilterkeyword_ext>(handle, 1); }, 3},
      {[=] { call<setfiltertime_ext>(handle, noon, noon); }, 1},  // local noon, both bounds inclusive
      {[=] { call<setfiltertime_ext>(handle, noon, 0); }, 2},
      {[=] { call<setfiltertime_ext>(handle, 0, noon); }, 0},  // 0 is a bound like any other value
      {[=] { call<resetfiltertime_ext>(handle); }, 3},
      {[=] { call<addfiltereventtype_ext>(handle, 2); }, 2},
      {[=] { call<resetfiltereventtype_ext>(handle); }, 3},
      {[=] { call<addfilterkeyword_ext>(handle, 1, "c"); }, 2},
      {[=] { call<setfiltertime_ext>(handle, noon - 1, 0); }, 1},
      {[=] { call<resetfilterall_ext>(handle); }, 3}};
  for (const auto& [act, passing] : steps) {
    act();
    EXPECT_EQ(reader.count(), passing) << "step " << &act - &steps[0].first;
  }
  EXPECT_EQ(fake::calls(kind.request()).size(), 1U);
}

}  // namespace
