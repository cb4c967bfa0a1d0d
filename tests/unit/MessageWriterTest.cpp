#include "MessageWriter.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <cstring>

#include "BusText.h"

using namespace Tavroline;

namespace {

TEST(MessageWriter, EncodesAnEntryByteByByte) {
  const QVariantMap inner{{QStringLiteral("n"), 0}};
  const QVariantMap description{{QStringLiteral("b"), true},
                                {QStringLiteral("i"), -2},
                                {QStringLiteral("l"), QVariantList{QStringLiteral("x"), 1.5, inner}}};
  MessageWriter message;
  message.entry(QStringLiteral("{a}"), 1, 2, 0x1122334455, QStringLiteral("\u00E4"), QStringLiteral("m"), {},
                QStringLiteral("PLC"), {QStringLiteral("k"), QString()}, description);
  const char
      expected[] =  // size, kind, alarm, state, type, time, icon, module, user, object, keywords, description
      "78000000 01 03000000 7B617D 01000000 02000000 5544332211000000 02000000 C3A4 01000000 6D 00000000 "
      "03000000 504C43 02000000 01000000 6B 00000000 03000000 01000000 62 62 01 01000000 69 69 FEFFFFFF "
      "01000000 6C 6C 03000000 73 01000000 78 64 000000000000F83F 6D 01000000 01000000 6E 69 00000000";
  const auto bytes = message.bytes();
  EXPECT_EQ(QByteArray(bytes.data(), static_cast<int>(bytes.size())).toHex().toStdString(),
            QByteArray::fromHex(expected).toHex().toStdString());
}

TEST(MessageWriter, RefusesWhatCannotBeSent) {
  constexpr int kMax = MessageFormat::kMaxMessageBytes, kRest = 58;  // of the message besides the text
  const auto nested = [](int levels) {
    QVariant value = 1;
    while (--levels > 0) {
      value = levels % 2 == 0 ? QVariant(QVariantList{value}) : QVariant(QVariantMap{{QString(), value}});
    }
    return value;
  };
  const struct {
    const char* name;
    QString text;
    QVariant value;
    bool isSendable;
  } rows[] = {
      {"longest", QString(kMax - kRest, QLatin1Char('x')), 1, true},
      {"too long", QString(kMax - kRest + 1, QLatin1Char('x')), 1, false},
      {"too long in UTF-8", QString(kMax / 2, QChar(0xE4)), 1, false},
      {"deepest", {}, nested(MessageWriter::kMaxNesting), true},
      {"too deep", {}, nested(MessageWriter::kMaxNesting + 1), false},
      {"a type without a form", {}, QDateTime(), false},
  };
  for (const auto& row : rows) {
    MessageWriter message;
    message.entry(row.text, 0, 0, 0, {}, {}, {}, {}, {}, {{QString(), row.value}});
    EXPECT_EQ(message.isSendable(), row.isSendable) << row.name;
  }
}

TEST(MessageWriter, ReplacesWhatTheBusRefuses) {
  const char16_t* const rows[] = {u"Pumpe 1",       u"\u00E4\u20AC\U0001F600", u"\xD83D",
                                  u"\xDE00\xD83Dx", u"\uFFFE\uFDD0",           u"\U0001FFFE",
                                  u"\uFFFD\uE000"};
  for (const char16_t* row : rows) {
    const QString text = QString::fromUtf16(row) + QChar(0) + QLatin1Char('.');
    QByteArray bytes(kBusTextBytesPerUnit * text.size(), '\0');
    bytes.truncate(writeBusText(text, bytes.data()));
    EXPECT_EQ(bytes, busText(text).toUtf8()) << qPrintable(text);
  }
}

}  // namespace
