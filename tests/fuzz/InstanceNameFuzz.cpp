// Instance names as formats: no more than one number gets in, and what printf would take as well gives what
// printf gives.

#include <QRegularExpression>

#include "Fuzz.h"
#include "InstanceNameFormat.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr char kAlphabet[] = "%%%ddiuoxX0123456789-+ #.*hlLqjztsnpfc$ab\xC3\xBC";
  // One integer directive, width and precision short of what is clamped, and no other percent sign.
  static const QRegularExpression plain(QStringLiteral(
      "\\A[^%]*%[-+ #0]*([1-9][0-9]?|1[0-9][0-9])?(\\.([0-9]{0,2}|1[0-9][0-9]))?[diuoxX][^%]*\\z"));
  FuzzedDataProvider input(data, size);
  const int number = input.ConsumeIntegral<int>();
  const bool fromAlphabet = input.ConsumeBool();
  std::string bytes = input.ConsumeRandomLengthString(255);
  for (char& byte : bytes) {
    if (fromAlphabet) byte = kAlphabet[static_cast<unsigned char>(byte) % (sizeof kAlphabet - 1)];
  }
  const QString name = QString::fromUtf8(bytes.c_str());
  const QString result = formatInstanceName(name, number);
  fuzz::check(result.size() <= name.size() + 255 + 3, "more than one number inserted");
  fuzz::check(name.contains(QLatin1Char('%')) || result == name, "a name without a directive has changed");
  if (plain.match(name).hasMatch()) {
    char text[2048];
    const int length = std::snprintf(text, sizeof text, name.toLatin1().constData(), number);
    fuzz::check(result == QString::fromLatin1(text, length), "another text than printf's");
  }
  return 0;
}
