#include "SimReport.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <cinttypes>
#include <cstdio>
#include <map>

#include "Database.h"
#include "DescriptionText.h"
#include "ListClient.h"
#include "ListView.h"

namespace {

constexpr int kShown = 20;  // newest entries of a list

QJsonArray firstOf(const QJsonArray& entries) {
  QJsonArray first;
  for (int i = 0; i < entries.size() && i < kShown; ++i) {
    first.append(entries.at(i));
  }
  return first;
}

void printTitle(const char* title, int entries) {
  std::printf("\n%s: %d entries%s\n", title, entries, entries > kShown ? ", the newest" : "");
  std::fflush(stdout);
}

/** How often each alarm and fault of a store was raised. */
void printRaised(const std::string& file) {
  Database database(file);
  Statement rows(
      database,
      "SELECT module_name, description, count(*) FROM events WHERE event_type IN (0, 2) AND state = 1 "
      "GROUP BY module_name, description ORDER BY 3 DESC, 1, 2");
  std::printf("\n%-10s  %-12s  %s\n", "RAISED", "MODULE", "ALARM");
  while (rows.next()) {
    std::string text;
    DescriptionText::make(rows.view(1), {}, text);
    std::printf("%-10" PRId64 "  %-12s  %s\n", static_cast<std::int64_t>(rows.number(2)),
                rows.copy(0).constData(), text.c_str());
  }
}

}  // namespace

void SimReport::keepRaised() {
  Scheduler::instance().waitUntil(Scheduler::instance().now() + kSecond);  // the service may just have begun
  ListClient client;
  m_raised = client.alarms({});
  m_raisedAt = Scheduler::instance().now() + Scheduler::instance().wallClock;
  const QJsonObject state = client.statistics();
  for (const char* const flag : {"alarm", "activeAlarm", "fault", "activeFault", "detector"}) {
    m_flags += QLatin1Char(state.value(QLatin1String(flag)).toVariant().toBool() ? '1' : '0');
  }
}

void SimReport::unload() {
  const Nanoseconds begin = Scheduler::instance().now();
  m_course.unload();
  m_unloading = Scheduler::instance().now() - begin;
}

void SimReport::keepLists() {
  SimService& service = m_course.service();
  {
    ListClient client;
    m_cleared = client.alarms({});
    m_stores.append(QJsonArray{client.events({}, 0), QJsonValue()});
  }
  service.stop();
  for (const SimService::Store& store : service.stores()) {
    if (store.lost) {
      service.start(store.file);
      Scheduler::instance().waitUntil(Scheduler::instance().now() + kSecond);
      QJsonArray entries = ListClient().events({}, 0);
      m_stores.insert(m_stores.size() - 1, QJsonArray{entries, static_cast<double>(*store.lost)});
      service.stop();
    }
  }
}

void SimReport::printCalls(const CallMonitor& monitor) {
  std::printf("%-20s  %-32s  %10s\n", "TASK", "FUNCTION", "CALLS");
  const auto& functions = monitor.component().functions();
  for (const CallMeter& meter : monitor.meters()) {
    for (std::size_t i = 0; i < functions.size() && i < CallMeter::kFunctions; ++i) {
      if (const std::uint64_t calls = meter.record(i).calls; calls != 0) {
        std::printf("%-20s  %-32s  %10" PRIu64 "\n", meter.task().c_str(), functions[i].name.c_str(), calls);
      }
    }
  }
}

void SimReport::printLists() const {
  printRaised(m_course.service().stores().back().file);
  const QJsonArray events = m_stores.last().toArray().first().toArray();
  printTitle("Event list", events.size());
  ListView(ListClient::List::Events, false).showAll(firstOf(events));
  printTitle("Alarm list", m_cleared.size());
  ListView(ListClient::List::Alarms, false).showAll(firstOf(m_cleared));
}

void SimReport::record(const std::string& folder) const {
  QJsonArray unable;
  for (const auto& [begin, end] : m_course.unable()) {
    unable.append(QJsonArray{static_cast<double>(begin), static_cast<double>(end)});
  }
  QJsonObject busiest;
  for (const auto& [method, most] : m_course.broker().busiest()) {
    busiest.insert(QString::fromStdString(method), static_cast<double>(most));
  }
  QJsonArray told;
  for (const Broker::FlagSignal& signal : m_course.broker().flagSignals()) {
    told.append(QJsonArray{static_cast<double>(signal.time), QString::fromStdString(signal.flags)});
  }
  const QJsonObject all{
      {QStringLiteral("raised"), m_raised},   {QStringLiteral("raised at"), static_cast<double>(m_raisedAt)},
      {QStringLiteral("flags"), m_flags},     {QStringLiteral("unloading"), static_cast<double>(m_unloading)},
      {QStringLiteral("busiest"), busiest},   {QStringLiteral("signals"), told},
      {QStringLiteral("cleared"), m_cleared}, {QStringLiteral("stores"), m_stores},
      {QStringLiteral("unable"), unable}};
  QFile file(QString::fromStdString(folder) + QStringLiteral("/life.json"));
  file.open(QIODevice::WriteOnly);
  file.write(QJsonDocument(all).toJson(QJsonDocument::Compact));
}

std::uint64_t SimReport::digest(const std::string& logFile, std::int64_t logBegin) const {
  std::uint64_t digest = m_course.broker().digest();
  const auto add = [&digest](const QByteArray& bytes) {
    for (const char byte : bytes) {
      digest = (digest ^ static_cast<unsigned char>(byte)) * 1099511628211U;
    }
  };
  add(QJsonDocument(m_stores).toJson(QJsonDocument::Compact));
  add(QJsonDocument(m_cleared).toJson(QJsonDocument::Compact));
  QFile log(QString::fromStdString(logFile));
  if (!logFile.empty() && log.open(QIODevice::ReadOnly) && log.seek(logBegin)) {
    add(log.readAll().replace(m_course.broker().leftOut.c_str(), ""));
  }
  return digest;
}
