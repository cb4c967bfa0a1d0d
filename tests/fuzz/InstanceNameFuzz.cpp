// Instance names as formats: no more than one number gets in, and what printf would take as well gives what
// printf gives.

#include <QRegularExpression>

#include "Fuzz.h"
#include "InstanceNameFormat.h"

void fuzz::run(FuzzedDataProvider& input) {
  // One integer directive, width and precision short of what is clamped, and no other percent sign.
  static const QRegularExpression plain(QStringLiteral(
      "\\A[^%]*%[-+ #0]*([1-9][0-9]?|1[0-9][0-9])?(\\.([0-9]{0,2}|1[0-9][0-9]))?[diuoxX][^%]*\\z"));
  const int number = input.ConsumeIntegral<int>();
  const QString name = QString::fromUtf8(input.ConsumeRandomLengthString(255).c_str());
  const QString result = Tavroline::formatInstanceName(name, number);
  check(result.size() <= name.size() + 255 + 3, "more than one number inserted");
  if (!plain.match(name).hasMatch()) return;
  char text[2048];
  std::snprintf(text, sizeof text, name.toLatin1().constData(), number);
  check(result == QString::fromLatin1(text), "another text than printf's");
}
