#include <QDateTime>

#include <climits>

#include "UnitSupport.h"

namespace {

TEST_F(ComponentTest, AnEventIsSentWithItsIconOrTheDefaultOneAndAnAlarmIsRefused) {
  const std::tuple<int, int, const char*, const char*> rows[] = {
      // the last one null: refused
      {3, 0, "", "event"},       {3, 1, "", "event-on"}, {3, 2, "", "event-off"}, {3, 1, "own", "own"},
      {1, 0, "", "audit-trail"}, {1, 1, "", ""},         {3, 3, "", ""},          {4, 1, "", ""},
      {-1, 1, "x", "x"},         {3, -5, nullptr, ""},   {0, 1, "", nullptr},     {2, 7, "own", nullptr}};
  for (const auto& [type, state, icon, sentIcon] : rows) {
    fake::reset();
    logEntry<logevent_ext>(type, state, icon, "Mödule", 0xFFFFFFFF);
    QVariantList sent;
    for (const fake::Call& call : fake::calls("logEvent")) {
      sent += call.arguments;
    }
    if (sentIcon == nullptr) {
      EXPECT_EQ(sent, QVariantList());
      EXPECT_EQ(messages(),
                Lines{"qWarning: TavrolineEventlistWrite: void TavrolineEventlistWrite::logEvent("
                      "EventlistHandlerEnums::EventType, EventlistHandlerEnums::State, const QString&, "
                      "const QString&, const QDateTime&, const QVariantMap&, const QStringList&, "
                      "const QString&) const: Can't set alarm or fault"});
      EXPECT_EQ(fake::calls("qWarning").at(0).arguments[4], 49);
    } else {
      EXPECT_EQ(sent.takeAt(5).toMap().size(), 7);
      EXPECT_EQ(sent, (QVariantList{type, state, QString::fromUtf8(sentIcon), "Mödule"_q,
                                    QDateTime::fromSecsSinceEpoch(0xFFFFFFFF, Qt::UTC), QStringList{"k"_q},
                                    "u"_q, ""_q, "PlcEvents"_q}));
      EXPECT_EQ(messages(), Lines{});
    }
  }
}

TEST_F(ComponentTest, AnAcknowledgementNamesTheUserAndTheIdentifiersThatAreNotEmpty) {
  const RTS_IEC_WSTRING user[] = {'B', 0xF6, 0};
  const char ids[][81] = {"{a}", "", "{ä}", "behind"};
  using Row = std::tuple<const char*, __ARRAY__DIM__INFO, QStringList>;
  for (const auto& [first, bounds, sent] :
       {Row{*ids, {1, 3}, {"{a}"_q, "{ä}"_q}}, Row{ids[1], {0, 0}, {}}, Row{*ids, {INT_MIN, INT_MAX}, {}},
        Row{nullptr, {0, 0}, {}}, Row{nullptr, {1, 0}, {}}}) {
    fake::reset();
    call<acknowledgevisualalarm_ext>(81, user, first, bounds);
    EXPECT_EQ(fake::calls("acknowledgeVisualAlarm").at(0).arguments, (QVariantList{sent, "Bö"_q, true}));
    EXPECT_EQ(records().size(), first == nullptr && bounds.lower == 0 ? 1U : 0U);
  }
  call<acknowledgecentraldetector_ext>(user);
  EXPECT_EQ(fake::calls("acknowledgeCentralDetector").at(0).arguments, (QVariantList{"Bö"_q, true}));
}

TEST_F(ComponentTest, EveryReadingClientIsConstructedForTheDevicesBus) {
  std::string constructed;
  for (const fake::Call& client : fake::readingClients()) {
    EXPECT_EQ(client.arguments, QVariantList{true});
    constructed += client.operation + " ";
  }
  EXPECT_EQ(constructed,
            "EventlistHandlerDBusConnectorRead AlarmlistHandlerDBusConnectorRead "
            "AlarmlistHandlerDBusConnectorRead ");
}

}  // namespace
