#include "ListCommands.h"

#include <algorithm>
#include <cstdio>

#include "EventlistHandlerDefinitions.h"
#include "ListView.h"

namespace {

using Keys = EventlistHandlerDefinitions;

qint64 idOf(const QJsonValue& entry) {
  return entry.toObject().value(Keys::getListColumnNameEventlistId()).toVariant().toLongLong();
}

/** The event list from the last entry that was shown on. */
class EventFollower {
 public:
  EventFollower(ListClient& client, const QString& language) : m_client(client), m_language(language) {}

  /** What has come since the last call, the oldest first. */
  QJsonArray next() {
    constexpr quint32 kUsual = 100;
    QJsonArray list = entriesOf(m_client.events(m_language, kUsual));
    if (list.size() == static_cast<int>(kUsual) && idOf(list.last()) > idOf(m_last)) {
      list = entriesOf(m_client.events(m_language, 0));
    }
    QJsonArray result;
    for (int i = firstKnown(list) - 1; i >= 0; --i) {
      result.append(list.at(i));
    }
    if (!list.isEmpty()) {
      m_last = list.first();
    }
    return result;
  }

 private:
  /**
   * Where the entries begin that have been shown. Numbers start anew where a service without a database file
   * does, so the last one counts only if it is the same entry; what such a service held before is not seen.
   */
  int firstKnown(const QJsonArray& list) const {
    const auto known =
        std::find_if(list.begin(), list.end(), [this](const QJsonValue& entry) { return entry == m_last; });
    return static_cast<int>(known - list.begin());
  }

  ListClient& m_client;
  QString m_language;
  QJsonValue m_last;  ///< the newest entry shown, as the service gave it
};

/** Call `update` after each change of the list; a service that is gone for a while is waited for. */
template <class Update>
[[noreturn]] void follow(ListClient& client, const Update& update) {
  for (;;) {
    client.waitForChange();
    try {
      update();
    } catch (const NoService&) {
      std::fputs("tavroline-ctl: the list service is gone; waiting for it\n", stderr);
    }
  }
}

}  // namespace

QJsonArray entriesOf(const QJsonObject& reply) {
  const int omitted = reply.value(QStringLiteral("Omitted")).toInt();
  if (omitted > 0) {
    std::fprintf(stderr, "tavroline-ctl: %d older entries did not fit into the service's reply\n", omitted);
  }
  return reply.value(Keys::getListDataName()).toArray();
}

void showEvents(ListClient& client, const Arguments& arguments) {
  const EntryFilter& filter = arguments.filter;
  ListView view(ListClient::List::Events, arguments.json);
  if (!arguments.follow) {
    const quint32 asked = filter.isEmpty() ? arguments.count : 0;
    view.showAll(filter.passing(entriesOf(client.events(arguments.language, asked)), arguments.count));
    return;
  }
  client.subscribe(ListClient::List::Events);
  EventFollower follower(client, arguments.language);
  QJsonArray first = filter.passing(follower.next());
  while (arguments.count != 0 && static_cast<quint32>(first.size()) > arguments.count) {
    first.removeFirst();
  }
  view.showMore(first);
  follow(client, [&] { view.showMore(filter.passing(follower.next())); });
}

void showAlarms(ListClient& client, const Arguments& arguments) {
  ListView view(ListClient::List::Alarms, arguments.json);
  const auto wanted = [&] {
    return arguments.filter.passing(entriesOf(client.alarms(arguments.language)), arguments.count);
  };
  if (!arguments.follow) {
    view.showAll(wanted());
    return;
  }
  client.subscribe(ListClient::List::Alarms);
  view.showMore(wanted());
  follow(client, [&] { view.showAgain(wanted()); });
}
