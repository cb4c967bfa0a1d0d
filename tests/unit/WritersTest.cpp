#include <QDateTime>

#include <climits>

#include "UnitSupport.h"

namespace {

struct WritersTest : ComponentTest {};

TEST_F(WritersTest, AnEventIsSentWithItsIconOrTheDefaultOneAndAnAlarmIsRefused) {
  struct Row {
    int type, state;
    const char* icon;
    const char* sentIcon;  ///< null: refused
  };
  for (const auto& [type, state, icon, sentIcon] :
       {Row{TAVROLINE_EVENT, TAVROLINE_NEUTRAL, "", "event"},
        Row{TAVROLINE_EVENT, TAVROLINE_ON, "", "event-on"},
        Row{TAVROLINE_EVENT, TAVROLINE_OFF, "", "event-off"},
        Row{TAVROLINE_EVENT, TAVROLINE_ON, "own", "own"}, Row{TAVROLINE_EVENT, 3, "", ""},
        Row{TAVROLINE_EVENT, -5, nullptr, ""},
        Row{TAVROLINE_AUDIT_TRAIL, TAVROLINE_NEUTRAL, "", "audit-trail"},
        Row{TAVROLINE_AUDIT_TRAIL, TAVROLINE_ON, "", ""}, Row{4, TAVROLINE_ON, "", ""},
        Row{-1, TAVROLINE_ON, "x", "x"}, Row{TAVROLINE_ALARM, TAVROLINE_ON, "", nullptr},
        Row{TAVROLINE_FAULT, 7, "own", nullptr}}) {
    SCOPED_TRACE(std::to_string(type) + " " + std::to_string(state));
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

TEST_F(WritersTest, AnAcknowledgementNamesTheUserAndTheIdentifiersThatAreNotEmptyOnTheDevicesBus) {
  const RTS_IEC_WSTRING user[] = {'B', 0xF6, 0};
  const char ids[][81] = {"{a}", "", "{ä}", "behind"};
  const struct {
    const char* first;
    __ARRAY__DIM__INFO bounds;
    QStringList sent;
    Lines logged;
  } rows[] = {{*ids, {1, 3}, {"{a}"_q, "{ä}"_q}, {}},
              {ids[1], {0, 0}, {}, {}},
              {*ids, {INT_MIN, INT_MAX}, {}, {}},
              {nullptr, {0, 0}, {}, {"codesys struct nullpointer"}},
              {nullptr, {1, 0}, {}, {}}};
  for (const auto& [first, bounds, sent, logged] : rows) {
    fake::reset();
    call<acknowledgevisualalarm_ext>(81, user, first, bounds);
    EXPECT_EQ(fake::calls("acknowledgeVisualAlarm").at(0).arguments, (QVariantList{sent, "Bö"_q, true}));
    EXPECT_EQ(items(), logged);
  }
  call<acknowledgecentraldetector_ext>(user);
  EXPECT_EQ(fake::calls("acknowledgeCentralDetector").at(0).arguments, (QVariantList{"Bö"_q, true}));
  deleteeventlist_ext(nullptr);
  EXPECT_EQ(fake::calls("deleteEventlist").at(0).arguments, QVariantList{true});
}

}  // namespace
