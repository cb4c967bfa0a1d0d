#include "Commands.h"

#include <QJsonDocument>

#include <algorithm>
#include <cstdio>

#include "EventlistHandlerDefinitions.h"
#include "ListView.h"

namespace {

using Keys = EventlistHandlerDefinitions;

/** The entries of a list reply; reports on stderr if the service had to leave out older ones. */
QJsonArray entriesOf(const QJsonObject& reply) {
  const int omitted = reply.value(QStringLiteral("Omitted")).toInt();
  if (omitted > 0) {
    std::fprintf(stderr, "tavroline-ctl: %d older entries did not fit into the service's reply\n", omitted);
  }
  return reply.value(Keys::getListDataName()).toArray();
}

qint64 idOf(const QJsonValue& entry) {
  return entry.toObject().value(Keys::getListColumnNameEventlistId()).toVariant().toLongLong();
}

/** Reads the entries that were added to the event list since the last reading. */
class EventFollower {
 public:
  EventFollower(ListClient& client, const QString& language) : m_client(client), m_language(language) {}

  /** The entries added since the last call, at the first call all entries; the oldest first. */
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
   * The index of the newest entry that was shown; the list's size if it is not in the list. A service without
   * a database file numbers from 1 again after a restart, so whole entries are compared; entries that such a
   * service lost unread are not shown.
   */
  int firstKnown(const QJsonArray& list) const {
    const auto known =
        std::find_if(list.begin(), list.end(), [this](const QJsonValue& entry) { return entry == m_last; });
    return static_cast<int>(known - list.begin());
  }

  ListClient& m_client;
  QString m_language;
  QJsonValue m_last;  ///< the newest entry shown
};

/** Call `update` after each change of the list; waits for a service that is absent. */
template <class Update>
[[noreturn]] void follow(ListClient& client, const Update& update) {
  for (;;) {
    client.waitForChange();
    try {
      update();
    } catch (const NoService&) {
      std::fputs("tavroline-ctl: the list service has ended; waiting for it\n", stderr);
    }
  }
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

/** With --json, print that a change was carried out; without it only the exit code says so. */
void confirm(const Arguments& arguments, const QString& done, const QJsonValue& what) {
  if (arguments.json) {
    Terminal::print(QJsonDocument(QJsonObject{{done, what}}).toJson());
  }
}

/** The identifier in the list that equals `given`, or else the only one that begins with it, if `given` has
 * at least kShortest characters. Throws ClientError if there is none or several begin so. */
QString identifierOf(const QJsonArray& list, const QString& given) {
  constexpr int kShortest = 9;
  QStringList beginning;
  for (const QJsonValue& alarm : list) {
    QString id = alarm.toObject().value(Keys::getListColumnNameAlarmID()).toString();
    if (id == given) {
      return id;
    }
    if (given.size() >= kShortest && id.startsWith(given)) {
      beginning += id;
    }
  }
  if (beginning.size() == 1) {
    return beginning.first();
  }
  throw ClientError((beginning.isEmpty() ? "no alarm with the identifier " : "several alarms begin with ") +
                    given.toStdString() + "; nothing acknowledged");
}

/** Checks the identifiers first: the service ignores unknown ones without an error. */
void acknowledge(ListClient& client, const Arguments& arguments) {
  const QJsonArray list = entriesOf(client.alarms(QString()));
  QStringList ids;
  for (const QString& given : arguments.alarmIds) {
    ids += identifierOf(list, given);
  }
  client.acknowledgeAlarms(ids, arguments.user);
  confirm(arguments, QStringLiteral("acknowledged"), QJsonArray::fromStringList(ids));
}

}  // namespace

void Commands::run(const Arguments& arguments) {
  // diagnose() must itself try to connect to the bus.
  if (arguments.command == Arguments::Command::Doctor) {
    return diagnose(arguments.json);
  }
  ListClient client;
  switch (arguments.command) {
    case Arguments::Command::Events:
      return showEvents(client, arguments);
    case Arguments::Command::Alarms:
      return showAlarms(client, arguments);
    case Arguments::Command::DeleteEvents:
      client.deleteEvents();
      return confirm(arguments, QStringLiteral("deleted"), QStringLiteral("events"));
    case Arguments::Command::Acknowledge:
      return acknowledge(client, arguments);
    case Arguments::Command::AcknowledgeDetector:
      client.acknowledgeDetector(arguments.user);
      return confirm(arguments, QStringLiteral("acknowledged"), QStringLiteral("detector"));
    case Arguments::Command::Statistics:
      return showStatistics(client, arguments);
    case Arguments::Command::Doctor:
      return;
  }
}
