#include "TavrolineFilter.h"

#include <QJsonDocument>

#include <functional>

#include "UnitSupport.h"

namespace {

class Filter : public TavrolineFilter {
 public:
  using TavrolineFilter::m_DateTimeLowerBound;
  using TavrolineFilter::m_DateTimeUpperBound;
  using TavrolineFilter::m_EventTypes;
  using TavrolineFilter::m_ExcludeKeywords;
  using TavrolineFilter::m_IncludeKeywords;
  bool additionalFilterCheck(const QJsonObject& entry) const override {
    ++m_extensionTests;
    return entry.value("Extra"_q).toBool(true);
  }
  mutable int m_extensionTests = 0;
};

constexpr auto kInclude = TavrolineFilter::FilterTypeInclude;
constexpr auto kExclude = TavrolineFilter::FilterTypeExclude;

QDateTime at(const char* text) {
  return QDateTime::fromString(QString::fromUtf8(text), Qt::ISODateWithMs);
}
EventlistHandlerEnums::EventType type(int value) {
  return static_cast<EventlistHandlerEnums::EventType>(value);
}

void upper(Filter& filter) {
  filter.setFilterDateTime(at("2024-05-01T12:00:00.500"), {});
}
void lower(Filter& filter) {
  filter.setFilterDateTime({}, at("2024-05-01T12:00:00.500"));
}
void types(Filter& filter) {
  filter.addFilterEventType(type(0));
  filter.addFilterEventType(type(3));
}
void include(Filter& filter) {
  filter.addFilterKeyword(kInclude, "Pump"_q);
  filter.addFilterKeyword(kInclude, "Valve"_q);
}
void exclude(Filter& filter) {
  filter.addFilterKeyword(kExclude, "Pump"_q);
}
void includeEmpty(Filter& filter) {
  filter.addFilterKeyword(kInclude, ""_q);
}

const struct {
  const char* name;
  std::function<void(Filter&)> set;
  const char* entry;
  bool passes;
} kRows[] = {
    {"no criteria", [](Filter&) {}, "{}", true},
    {"at the upper bound", upper, R"({"LocalTime":"2024-05-01T12:00:00.500"})", true},
    {"above the upper bound", upper, R"({"LocalTime":"2024-05-01T12:00:00.501"})", false},
    {"far below the upper bound", upper, R"({"LocalTime":"1971-05-01T12:00:00"})", true},
    {"at the lower bound", lower, R"({"LocalTime":"2024-05-01T12:00:00.500"})", true},
    {"below the lower bound", lower, R"({"LocalTime":"2024-05-01T12:00:00.499"})", false},
    {"no time is early for the upper bound", upper, R"({"LocalTime":"noon"})", true},
    {"no time is early for the lower bound", lower, "{}", false},
    {"bounds in the wrong order",
     [](Filter& f) { f.setFilterDateTime(at("2024-05-01T12:00:00"), at("2024-05-02T12:00:00")); },
     R"({"LocalTime":"2024-05-01T18:00:00"})", false},
    {"an instant with an offset", [](Filter& f) { f.setFilterDateTime(at("2024-05-01T12:00:00Z"), {}); },
     R"({"LocalTime":"2024-05-01T13:30:00.000+02:00"})", true},
    {"type in the set", types, R"({"EventType":3})", true},
    {"type not in the set", types, R"({"EventType":1})", false},
    {"no type counts as 0", types, "{}", true},
    {"a text counts as 0", types, R"({"EventType":"1"})", true},
    {"half a type counts as 0", types, R"({"EventType":1.5})", true},
    {"the whole integer is compared", types, R"({"EventType":65539})", false},
    {"a type beyond the known ones", [](Filter& f) { f.addFilterEventType(type(-7)); }, R"({"EventType":-7})",
     true},
    {"one keyword of the include list", include, R"({"Keywords":["x","Valve"]})", true},
    {"exact letters", include, R"({"Keywords":["pump","Pump1"]})", false},
    {"include without keywords", include, R"({"Keywords":[]})", false},
    {"include without the member", includeEmpty, "{}", false},
    {"keywords that are no array", includeEmpty, R"({"Keywords":"Pump"})", false},
    {"a number as keyword is an empty text", includeEmpty, R"({"Keywords":[5]})", true},
    {"one keyword of the exclude list", exclude, R"({"Keywords":["x","Pump"]})", false},
    {"exclude without keywords", exclude, "{}", true},
    {"exclude with others", exclude, R"({"Keywords":["pump"]})", true},
    {"same keyword in both lists", [](Filter& f) { include(f), exclude(f); }, R"({"Keywords":["Pump"]})",
     false},
    {"any other filter type is exclude",
     [](Filter& f) { f.addFilterKeyword(static_cast<TavrolineFilter::FilterType>(5), "Pump"_q); },
     R"({"Keywords":["Pump"]})", false},
};

TEST(TavrolineFilter, PassesAnEntryThatMeetsEveryCriterion) {
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Filter filter;
    row.set(filter);
    EXPECT_EQ(filter.checkListEntry(QJsonDocument::fromJson(row.entry).object()), row.passes);
    EXPECT_EQ(filter.m_extensionTests, row.passes ? 1 : 0) << "the extension test comes last";
  }
  EXPECT_FALSE(Filter().checkListEntry({{"Extra"_q, false}}));
}

TEST(TavrolineFilter, KeepsEachCriterionOnceAndForgetsItWhenTold) {
  Filter filter;
  for (int i = 0; i < 2; ++i) {
    types(filter);
    include(filter);
    exclude(filter);
  }
  EXPECT_EQ(filter.m_EventTypes, (QList<EventlistHandlerEnums::EventType>{type(0), type(3)}));
  EXPECT_EQ(filter.m_IncludeKeywords, (QStringList{"Pump"_q, "Valve"_q}));
  EXPECT_EQ(filter.m_ExcludeKeywords, QStringList{"Pump"_q});
  filter.clearFilterEventType(type(0));
  filter.clearFilterEventType(type(9));
  filter.clearFilterKeyword(kInclude, "pump"_q);
  filter.clearFilterKeyword(kInclude, "Pump"_q);
  EXPECT_EQ(filter.m_EventTypes, QList<EventlistHandlerEnums::EventType>{type(3)});
  EXPECT_EQ(filter.m_IncludeKeywords, QStringList{"Valve"_q});
  filter.resetFilterKeyword(kInclude);
  EXPECT_TRUE(filter.m_IncludeKeywords.isEmpty());
  EXPECT_EQ(filter.m_ExcludeKeywords, QStringList{"Pump"_q});
  filter.setFilterDateTime(at("2024-05-01T12:00:00"), at("2024-05-01T12:00:00"));
  filter.resetFilterAll();
  EXPECT_TRUE(filter.m_EventTypes.isEmpty());
  EXPECT_TRUE(filter.m_ExcludeKeywords.isEmpty());
  EXPECT_TRUE(filter.m_DateTimeUpperBound.isNull());
  EXPECT_TRUE(filter.m_DateTimeLowerBound.isNull());
}

}  // namespace
