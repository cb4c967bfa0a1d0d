#include "Commands.h"

#include <cstdio>
#include <utility>

#include "EventlistHandlerDefinitions.h"
#include "Follow.h"
#include "ListView.h"

namespace {

using Keys = EventlistHandlerDefinitions;

/** The filter with its times. Throws std::invalid_argument if they exclude each other. */
EntryFilter filterOf(ListClient& client, const Arguments& arguments) {
  EntryFilter filter = arguments.filter;
  filter.since = EntryFilter::time(arguments.since, false, client.ahead());
  filter.until = EntryFilter::time(arguments.until, true, client.ahead());
  if (filter.since.isValid() && filter.until.isValid() && filter.since > filter.until) {
    throw std::invalid_argument("--since lies after --until: no entry can pass");
  }
  return filter;
}

/** The entries behind the page that pass the filter, the oldest first; `page` becomes the last one read. */
QJsonArray addedEvents(ListClient& client, ListClient::Page& page, const Arguments& arguments) {
  const EntryFilter filter = filterOf(client, arguments);
  QJsonArray added;
  do {
    page = client.eventsAfter(page.epoch, page.last, arguments.language);
    for (const QJsonValue& entry : filter.passing(page.entries)) {
      added.append(entry);
    }
  } while (!page.entries.isEmpty());
  return added;
}

void followEvents(ListView& view, const Arguments& arguments) {
  ListClient::Page page;
  bool first = true;
  Follow::changes(ListClient::List::Events, [&](ListClient& client) {
    QJsonArray added = addedEvents(client, page, arguments);
    if (!std::exchange(first, false)) {
      return view.showMore(added);
    }
    while (arguments.count != 0 && static_cast<quint32>(added.size()) > arguments.count) {
      added.removeFirst();
    }
    view.showAll(added);
  });
}

void showEvents(const Arguments& arguments) {
  ListView view(ListClient::List::Events, arguments.json);
  if (arguments.follow) {
    followEvents(view, arguments);
  }
  ListClient client;
  const EntryFilter filter = filterOf(client, arguments);
  const quint32 asked = filter.isEmpty() ? arguments.count : 0;
  const QJsonArray list = Commands::entriesOf(client.events(arguments.language, asked));
  view.showAll(filter.passing(list, arguments.count));
}

void showAlarms(const Arguments& arguments) {
  ListView view(ListClient::List::Alarms, arguments.json);
  const auto update = [&](ListClient& client) {
    const EntryFilter filter = filterOf(client, arguments);
    view.showAll(filter.passing(Commands::entriesOf(client.alarms(arguments.language)), arguments.count));
  };
  if (arguments.follow) {
    Follow::changes(ListClient::List::Alarms, update);
  }
  ListClient client;
  update(client);
}

}  // namespace

QJsonArray Commands::entriesOf(const QJsonObject& reply) {
  const int omitted = reply.value(QStringLiteral("Omitted")).toInt();
  if (omitted > 0) {
    std::fprintf(stderr, "tavroline-ctl: %d older entries did not fit into the service's reply\n", omitted);
  }
  return reply.value(Keys::getListDataName()).toArray();
}

void Commands::run(const Arguments& arguments) {
  switch (arguments.command) {
    case Arguments::Command::Events:
      return showEvents(arguments);
    case Arguments::Command::Alarms:
      return showAlarms(arguments);
    case Arguments::Command::Statistics:
      return showStatistics(arguments);
    case Arguments::Command::Doctor:
      return diagnose(arguments.json);
    default:
      return change(arguments);
  }
}
