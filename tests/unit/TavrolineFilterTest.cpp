#include "TavrolineFilter.h"

#include <QJsonArray>
#include <QJsonDocument>

#include "UnitSupport.h"

namespace {

struct Filter : TavrolineFilter {
  bool additionalFilterCheck(const QJsonObject& entry) const override {
    ++m_extensionTests;
    return entry.value("Extra"_q).toBool(true);
  }
  mutable int m_extensionTests = 0;
};

QJsonObject json(const char* text) {
  return QJsonDocument::fromJson(text).object();
}

/** Set what `criteria` names: "types", "include" and "exclude" are arrays, "upper" and "lower" are times. */
void set(Filter& filter, const QJsonObject& criteria) {
  for (const QJsonValue type : criteria["types"_q].toArray()) {
    filter.addFilterEventType(EventlistHandlerEnums::EventType(type.toInt()));
  }
  for (const QString& list : {"include"_q, "exclude"_q}) {
    const auto type = TavrolineFilter::FilterType(list == "include"_q ? 0 : 5);
    for (const QJsonValue keyword : criteria[list].toArray())
      filter.addFilterKeyword(type, keyword.toString());
  }
  filter.setFilterDateTime(QDateTime::fromString(criteria["upper"_q].toString(), Qt::ISODateWithMs),
                           QDateTime::fromString(criteria["lower"_q].toString(), Qt::ISODateWithMs));
}

const std::tuple<const char*, const char*, bool> kRows[] = {
    {"{}", "{}", true},
    {"{}", R"({"Extra":false})", false},
    {R"({"upper":"2024-05-01T12:00:00.500"})", R"({"LocalTime":"2024-05-01T12:00:00.500"})", true},
    {R"({"upper":"2024-05-01T12:00:00.500"})", R"({"LocalTime":"2024-05-01T12:00:00.501"})", false},
    {R"({"lower":"2024-05-01T12:00:00.500"})", R"({"LocalTime":"2024-05-01T12:00:00.500"})", true},
    {R"({"lower":"2024-05-01T12:00:00.500"})", R"({"LocalTime":"2024-05-01T12:00:00.499"})", false},
    {R"({"upper":"2024-05-01T12:00:00Z"})", R"({"LocalTime":"2024-05-01T13:30:00.000+02:00"})", true},
    {R"({"upper":"2024-05-01T12:00:00"})", R"({"LocalTime":"no time"})", true},
    {R"({"lower":"2024-05-01T12:00:00"})", "{}", false},
    {R"({"types":[0,3,-7]})", R"({"EventType":3})", true},
    {R"({"types":[0,3,-7]})", R"({"EventType":-7})", true},
    {R"({"types":[0,3,-7]})", R"({"EventType":65539})", false},
    {R"({"types":[0]})", "{}", true},
    {R"({"types":[0]})", R"({"EventType":"1"})", true},
    {R"({"types":[0]})", R"({"EventType":1.5})", true},
    {R"({"include":["Pump","Valve"]})", R"({"Keywords":["x","Valve"]})", true},
    {R"({"include":["Pump","Valve"]})", R"({"Keywords":["pump","Pump1"]})", false},
    {R"({"include":[""]})", R"({"Keywords":"Pump"})", false},
    {R"({"include":[""]})", R"({"Keywords":[5]})", true},
    {R"({"exclude":["Pump"]})", R"({"Keywords":["x","Pump"]})", false},
    {R"({"exclude":["Pump"]})", R"({"Keywords":["pump"]})", true},
    {R"({"exclude":["","Pump"]})", "{}", true},
    {R"({"include":["Pump"],"exclude":["Pump"]})", R"({"Keywords":["Pump"]})", false}};

TEST(TavrolineFilter, PassesAnEntryThatMeetsEveryCriterionAndAsksTheExtensionLast) {
  for (const auto& [criteria, entry, passes] : kRows) {
    Filter filter;
    set(filter, json(criteria));
    EXPECT_EQ(filter.checkListEntry(json(entry)), passes) << criteria << entry;
    EXPECT_EQ(filter.m_extensionTests, passes || json(entry).contains("Extra"_q) ? 1 : 0)
        << criteria << entry;
  }
}

}  // namespace
