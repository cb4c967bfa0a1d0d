// Instance names as formats: whatever they hold, no more than one number gets in, and a format that printf
// would take as well gives what printf gives.

#include <QRegularExpression>

#include "Fuzz.h"
#include "InstanceNameFormat.h"

namespace {

/** One plain directive within what the component does not clamp, and no other percent sign. */
bool isPlain(const QString& name) {
  static const QRegularExpression plain(QStringLiteral(
      "\\A[^%]*%[-+ #0]*([1-9][0-9]?|1[0-9]{2}|2[0-4][0-9])?(\\.([0-9]{0,2}|1[0-9]{2}))?[diuoxX][^%]*\\z"));
  return plain.match(name).hasMatch();
}

QString asPrintf(const QString& name, int number) {
  char text[2048];
  const int length = std::snprintf(text, sizeof text, name.toLatin1().constData(), number);
  return QString::fromLatin1(text, length);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr char kAlphabet[] = "%%%ddiuoxX0123456789-+ #.*hlLqjztsnpfc$ab\xC3\xBC";
  FuzzedDataProvider input(data, size);
  const int number = input.ConsumeIntegral<int>();
  const bool fromAlphabet = input.ConsumeBool();
  std::string bytes = input.ConsumeRandomLengthString(255);
  for (char& byte : bytes) {
    if (fromAlphabet) byte = kAlphabet[static_cast<unsigned char>(byte) % (sizeof kAlphabet - 1)];
    if (byte == '\0') byte = '%';
  }
  const QString name = QString::fromUtf8(bytes.c_str());
  const QString result = formatInstanceName(name, number);
  constexpr int kLargestNumber = 255 + 3;
  fuzz::check(result.size() <= name.size() + kLargestNumber, "more than one number inserted");
  if (!name.contains(QLatin1Char('%'))) fuzz::check(result == name, "a name without a directive has changed");
  if (isPlain(name)) fuzz::check(result == asPrintf(name, number), "another text than printf's");
  return 0;
}
