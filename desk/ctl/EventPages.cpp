#include "EventPages.h"

#include <cstdio>

namespace {

void sayMissing(qint64 first, qint64 last, const char* why) {
  if (first <= last) {
    std::fprintf(stderr, "tavroline-ctl: missing: entries %lld to %lld, %s\n", first, last, why);
  }
}

}  // namespace

void EventPages::read(ListClient& client, const Use& use) {
  for (;;) {
    const ListClient::Page page = client.eventsAfter(m_at.epoch, m_at.number, m_language);
    moveTo(page);
    if (page.last <= m_at.number) {
      return;
    }
    constexpr char kDamaged[] = "damaged in the service's database";
    qint64 next = m_at.number + 1;
    for (const QJsonValue entry : page.entries) {
      const auto number = static_cast<qint64>(entry[QStringLiteral("id")].toDouble());
      sayMissing(next, number - 1, kDamaged);
      next = number + 1;
    }
    sayMissing(next, page.last, kDamaged);
    use(page.epoch, page.entries);
    m_at.number = page.last;
  }
}

/** Move to the place before the page's first entry; says what is missing between the two places. */
void EventPages::moveTo(const ListClient::Page& page) {
  const Cursor before = m_at;
  const qint64 start = page.oldest - 1;
  m_at = {page.epoch, start};
  // The service begins with the oldest entry if it does not know the cursor.
  if (before.epoch == page.epoch && before.number <= page.last) {
    m_at.number = qMax(before.number, start);
    sayMissing(before.number + 1, start, "overwritten or deleted");
  } else if (before.epoch != 0) {
    std::fprintf(stderr,
                 before.epoch != page.epoch
                     ? "tavroline-ctl: missing: what followed %llu:%lld; another list has replaced that one\n"
                     : "tavroline-ctl: %llu:%lld is not in the list: an older copy; its entries come again\n",
                 before.epoch, before.number);
  }
}
