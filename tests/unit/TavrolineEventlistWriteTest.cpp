#include "TavrolineEventlistWrite.h"

#include <QDateTime>

#include "UnitSupport.h"

namespace {

TEST_F(ComponentTest, AnEventIsSentWithItsIconOrTheDefaultOneAndAnAlarmIsRefused) {
  using Row = std::tuple<int, int, const char*, const char*>;  // the last one null: refused
  for (const auto& [type, state, icon, sentIcon] :
       {Row{3, 1, "", "event-on"}, Row{3, 0, "", "event"}, Row{3, 1, "own", "own"}, Row{1, 1, "", ""},
        Row{4, 9, "", ""}, Row{-1, 1, "x", "x"}, Row{3, -5, nullptr, ""}, Row{0, 1, "", nullptr},
        Row{2, 7, "own", nullptr}}) {
    fake::reset();
    call<logevent_ext>(type, state, icon);
    const auto sent = fake::calls("logEvent");
    if (sentIcon == nullptr) {
      EXPECT_TRUE(sent.empty());
      EXPECT_EQ(messages(),
                Lines{"qWarning: TavrolineEventlistWrite: void TavrolineEventlistWrite::logEvent("
                      "EventlistHandlerEnums::EventType, EventlistHandlerEnums::State, const QString&, "
                      "const QString&, const QDateTime&, const QVariantMap&, const QStringList&, "
                      "const QString&) const: Can't set alarm or fault"});
      EXPECT_EQ(fake::calls("qWarning")[0].arguments[4], 49);
    } else {
      ASSERT_EQ(sent.size(), 1U);
      EXPECT_EQ(sent[0].arguments, (QVariantList{type, state, QString::fromUtf8(sentIcon), ""_q, QDateTime(),
                                                 QVariantMap(), QStringList(), ""_q, ""_q, "PlcEvents"_q}));
      EXPECT_EQ(messages(), Lines{});
    }
  }
}

TEST_F(ComponentTest, AnEventCarriesAllItsDataInTheStatedOrder) {
  logEntry<logevent_ext>(1, 0, "icon", "Mödule", 0xFFFFFFFF);
  QVariantList arguments = fake::calls("logEvent").at(0).arguments;
  EXPECT_EQ(arguments[5].toMap().size(), 7);
  arguments.removeAt(5);
  EXPECT_EQ(arguments,
            (QVariantList{1, 0, "icon"_q, "Mödule"_q, QDateTime::fromSecsSinceEpoch(0xFFFFFFFF, Qt::UTC),
                          QStringList{"k"_q}, "u"_q, ""_q, "PlcEvents"_q}));
}

TEST_F(ComponentTest, DeletingTheEventListNeedsNoStructure) {
  deleteeventlist_ext(nullptr);
  EXPECT_EQ(fake::calls("deleteEventlist").at(0).arguments, QVariantList{true});
}

}  // namespace
