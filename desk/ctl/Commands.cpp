#include "Commands.h"

#include "EventPages.h"
#include "Follow.h"
#include "ListView.h"

namespace {

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

void followEvents(ListView& view, const Arguments& arguments) {
  EventPages pages(arguments.language, {});
  QJsonArray added;  // kept when a reading is interrupted
  bool first = true;
  Follow::changes(ListClient::List::Events, [&](ListClient& client) {
    const EntryFilter filter = filterOf(client, arguments);
    pages.read(client, [&](quint64, const QJsonArray& page) {
      for (const QJsonValue entry : filter.passing(page)) {
        added.append(entry);
      }
    });
    while (first && arguments.count != 0 && static_cast<quint32>(added.size()) > arguments.count) {
      added.removeFirst();
    }
    view.showMore(added);
    first = false;
    added = {};
  });
}

}  // namespace

void Commands::showEvents(const Arguments& arguments) {
  ListView view(ListClient::List::Events, arguments.json);
  if (arguments.follow) {
    followEvents(view, arguments);
  }
  ListClient client;
  const EntryFilter filter = filterOf(client, arguments);
  const quint32 asked = filter.isEmpty() ? arguments.count : 0;
  view.showAll(filter.passing(client.events(arguments.language, asked), arguments.count));
}

void Commands::showAlarms(const Arguments& arguments) {
  ListView view(ListClient::List::Alarms, arguments.json);
  const auto update = [&](ListClient& client) {
    const EntryFilter filter = filterOf(client, arguments);
    view.showAll(filter.passing(client.alarms(arguments.language), arguments.count));
  };
  if (arguments.follow) {
    Follow::changes(ListClient::List::Alarms, update);
  }
  ListClient client;
  update(client);
}
