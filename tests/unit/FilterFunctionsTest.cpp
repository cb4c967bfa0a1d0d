#include "tavroline/filter.h"

#include <QDateTime>

#include <functional>

#include "UnitSupport.h"

namespace {

class FilterFunctions : public ReaderTest {};
INSTANTIATE_FOR_BOTH_KINDS(FilterFunctions);

// Three entries a, b and c are loaded once; each step says how many pass after it.
TEST_P(FilterFunctions, ActOnEitherKindAtTheNextCopyWithoutANewLoad) {
  Reader reader(kind());
  reader.load(R"([{"EventType":0,"Keywords":["a"],"LocalTime":"2024-05-01T11:00:00.000"},
                  {"EventType":2,"Keywords":["b"],"LocalTime":"2024-05-01T12:00:00.000"},
                  {"EventType":2,"Keywords":["c"],"LocalTime":"2024-05-01T13:00:00.000"}])");
  const auto noon = static_cast<unsigned int>(
      QDateTime::fromString("2024-05-01T12:00:00Z"_q, Qt::ISODate).toSecsSinceEpoch());
  const TavrolineHandle handle = reader.handle();
  resetlistchanged_struct only{handle};
  addfiltereventtype_struct fault{handle, 2};
  addfilterkeyword_struct includeA{handle, 0, "a"};
  addfilterkeyword_struct includeB{handle, 0, "b"};
  addfilterkeyword_struct excludeB{handle, -3, "b"};
  addfilterkeyword_struct includeNull{handle, 0, nullptr};
  resetfilterkeyword_struct included{handle, 0};
  resetfilterkeyword_struct excluded{handle, 1};
  setfiltertime_struct atNoon{handle, noon, noon};
  setfiltertime_struct afterNoon{handle, 0xFFFFFFFF, noon + 1};
  setfiltertime_struct beforeNoon{handle, noon - 1, 0};
  setfiltertime_struct atZero{handle, 0, 0};
  const struct {
    const char* name;
    std::function<void()> act;
    int passing;
  } steps[] = {
      {"type", [&] { addfiltereventtype_ext(&fault); }, 2},
      {"and keyword", [&] { addfilterkeyword_ext(&includeB); }, 1},
      {"type removed", [&] { clearfiltereventtype_ext(&fault); }, 1},
      {"second keyword", [&] { addfilterkeyword_ext(&includeA); }, 2},
      {"keyword removed", [&] { clearfilterkeyword_ext(&includeB); }, 1},
      {"included forgotten", [&] { resetfilterkeyword_ext(&included); }, 3},
      {"a null keyword is an empty one", [&] { addfilterkeyword_ext(&includeNull); }, 0},
      {"included forgotten again", [&] { resetfilterkeyword_ext(&included); }, 3},
      {"excluded", [&] { addfilterkeyword_ext(&excludeB); }, 2},
      {"excluded forgotten", [&] { resetfilterkeyword_ext(&excluded); }, 3},
      {"local noon, both bounds inclusive", [&] { setfiltertime_ext(&atNoon); }, 1},
      {"from a second after", [&] { setfiltertime_ext(&afterNoon); }, 1},
      {"until a second before", [&] { setfiltertime_ext(&beforeNoon); }, 1},
      {"0 is a bound too", [&] { setfiltertime_ext(&atZero); }, 0},
      {"time forgotten", [&] { resetfiltertime_ext(&only); }, 3},
      {"type once more", [&] { addfiltereventtype_ext(&fault); }, 2},
      {"types forgotten", [&] { resetfiltereventtype_ext(&only); }, 3},
      {"everything at once",
       [&] { addfiltereventtype_ext(&fault), addfilterkeyword_ext(&includeA), setfiltertime_ext(&atZero); },
       0},
      {"everything forgotten", [&] { resetfilterall_ext(&only); }, 3},
  };
  for (const auto& step : steps) {
    step.act();
    EXPECT_EQ(reader.count(), step.passing) << step.name;
  }
  EXPECT_EQ(fake::calls(kind().request).size(), 1U);
  EXPECT_TRUE(records().empty());
}

}  // namespace
