#include "tavroline/alarms.h"

#include <climits>

#include "UnitSupport.h"

namespace {

TEST_F(ComponentTest, AlarmsAreAcknowledgedByTheIdentifiersThatAreNotEmpty) {
  constexpr RTS_IEC_INT kSize = 81;
  char ids[4 * kSize] = {};
  put(&ids[0], "{a}");
  put(&ids[2 * kSize], "{ä}");
  put(&ids[3 * kSize], "behind");
  const RTS_IEC_WSTRING user[] = {'B', 0xF6, 0};
  const struct {
    const char* first;
    __ARRAY__DIM__INFO bounds;
    QStringList sent;
    std::size_t reported;
  } rows[] = {{ids, {1, 3}, {"{a}"_q, "{ä}"_q}, 0}, {ids + kSize, {0, 0}, {}, 0}, {ids, {1, 0}, {}, 0},
              {ids, {INT_MIN, INT_MAX}, {}, 0},     {nullptr, {0, 0}, {}, 1},     {nullptr, {1, 0}, {}, 0}};
  for (const auto& row : rows) {
    fake::reset();
    acknowledgevisualalarm_struct parameters{kSize, user, row.first, row.bounds};
    acknowledgevisualalarm_ext(&parameters);
    ASSERT_EQ(fake::calls("acknowledgeVisualAlarm").size(), 1U) << "an empty list is sent too";
    EXPECT_EQ(fake::calls("acknowledgeVisualAlarm")[0].arguments, (QVariantList{row.sent, "Bö"_q, true}));
    EXPECT_EQ(records().size(), row.reported);
  }
}

TEST_F(ComponentTest, TheCentralDetectorIsAcknowledgedWithTheUser) {
  acknowledgecentraldetector_struct nobody{nullptr};
  acknowledgecentraldetector_ext(&nobody);
  const RTS_IEC_WSTRING name[] = {'B', 0};
  acknowledgecentraldetector_struct somebody{name};
  acknowledgecentraldetector_ext(&somebody);
  EXPECT_EQ(fake::calls("acknowledgeCentralDetector")[0].arguments, (QVariantList{""_q, true}));
  EXPECT_EQ(fake::calls("acknowledgeCentralDetector")[1].arguments, (QVariantList{"B"_q, true}));
}

}  // namespace
