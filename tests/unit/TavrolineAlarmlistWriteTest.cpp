#include "TavrolineAlarmlistWrite.h"

#include <climits>

#include "UnitSupport.h"

namespace {

TEST_F(ComponentTest, AnAcknowledgementNamesTheUserAndTheIdentifiersThatAreNotEmpty) {
  const RTS_IEC_WSTRING user[] = {'B', 0xF6, 0};
  const char ids[][81] = {"{a}", "", "{ä}", "behind"};
  using Row = std::tuple<const char*, __ARRAY__DIM__INFO, QStringList>;
  for (const auto& [first, bounds, sent] :
       {Row{*ids, {1, 3}, {"{a}"_q, "{ä}"_q}}, Row{ids[1], {0, 0}, {}}, Row{*ids, {1, 0}, {}},
        Row{*ids, {INT_MIN, INT_MAX}, {}}, Row{nullptr, {0, 0}, {}}, Row{nullptr, {1, 0}, {}}}) {
    fake::reset();
    call<acknowledgevisualalarm_ext>(81, user, first, bounds);
    ASSERT_EQ(fake::calls("acknowledgeVisualAlarm").size(), 1U) << "an empty list is sent too";
    EXPECT_EQ(fake::calls("acknowledgeVisualAlarm")[0].arguments, (QVariantList{sent, "Bö"_q, true}));
    EXPECT_EQ(records().size(), first == nullptr && bounds.lower == 0 ? 1U : 0U);
  }
  call<acknowledgecentraldetector_ext>(user);
  EXPECT_EQ(fake::calls("acknowledgeCentralDetector").at(0).arguments, (QVariantList{"Bö"_q, true}));
}

}  // namespace
