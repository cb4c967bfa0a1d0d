#include <gtest/gtest.h>
#include <sqlite3.h>

#include <optional>
#include <random>

#include "Disk.h"
#include "ListMessages.h"
#include "ListService.h"
#include "Schema.h"

namespace {

/** One batch of the session s, and the service's lists before and after it. */
struct Step {
  quint64 first = 0;
  qint64 capacity = 0;  ///< the service is started again where it changes
  std::string messages, before, after;
  std::vector<quint64> counters;
};

/** The service's stores on a disk. */
struct Service {
  Service(Disk& disk, qint64 capacity)
      : mount(disk.mount()), database("lists.db"), lists((Schema::open(database), database), {capacity}) {}

  void send(const Step& step) { lists.store({"s", 0}, step.first, 0, MessageReader::read(step.messages)); }

  std::string text() {
    const char* const query = R"(SELECT 'stored ' || (SELECT ifnull(max(sequence), 0) FROM sessions)
      || ', refused ' || (SELECT ifnull(group_concat(sequence), '') FROM refusals)
      || ', newest ' || newest || ', detector ' || detector
      || ', entries ' || (SELECT ifnull(group_concat(id || ':' || substr(user, 1, 6)), '')
         FROM (SELECT * FROM events ORDER BY id))
      || ', alarms ' || (SELECT ifnull(group_concat(alarm_id || active || acknowledged), '')
         FROM (SELECT * FROM alarms ORDER BY edge)) FROM state)";
    return database.queryText(query).toStdString();
  }

  std::vector<quint64> counters() {
    const Counters now = lists.counters();
    return {now.stored, now.overwritten, now.rejected, now.duplicates};
  }

  std::shared_ptr<Disk> mount;
  Database database;
  ListService lists;
};

void startFor(const Step& step, std::optional<Service>& service, Disk& disk) {
  if (service && service->lists.events().capacity() != step.capacity) {
    service.reset();
  }
  if (!service) {
    service.emplace(disk, step.capacity);
  }
}

/** Edges, acknowledgements, a deletion after each 100 messages, and events, some of them long. */
std::string randomWord(unsigned number, std::mt19937& random) {
  const auto choice = random() % 25;
  const std::string edge = std::string(1, "+++---!!!"[choice % 9]) + "uvwxyz"[random() % 6];
  const std::string event = std::to_string(number) + ':' + std::string(choice == 11 ? 4000 : 700, 'u');
  return number % 100 == 99 ? "delete" : choice < 9 ? edge : choice == 9 ? "!" : choice == 10 ? "bad" : event;
}

Disk diskWith(const char* sql) {
  Disk disk;
  const auto mount = disk.mount();
  Database("lists.db").execute(sql);
  return disk;
}

/** Random batches, and what a service makes of them that nothing disturbs. @param sql makes its database */
std::vector<Step> stepsFor(const char* sql, unsigned count) {
  std::vector<Step> steps;
  std::mt19937 random(1);
  Disk disk = diskWith(sql);
  std::optional<Service> service;
  for (unsigned sent = 0; sent < count;) {
    Step step{0, 3 * sent / count == 1 ? 5 : 50, {}, {}, {}, {}};
    for (auto size = 1 + random() % 2; size > 0; --size) {
      step.messages += message(randomWord(sent++, random));
    }
    startFor(step, service, disk);
    step.before = service->text();
    step.first = service->lists.stored("s").upTo + 1;
    service->send(step);
    step.after = service->text();
    step.counters = service->counters();
    steps.push_back(step);
  }
  return steps;
}

/** Starts the service on what a cut during this step left; the client sends the step again. */
void expectRecovery(Disk disk, const Step& step) {
  Service service(disk, step.capacity);
  const std::string text = service.text();
  EXPECT_TRUE(text == step.before || text == step.after) << text;
  service.send(step);
  EXPECT_EQ(service.text(), step.after);
}

/** @return the number of cuts */
int cutEachOperation(const char* sql, unsigned count) {
  const std::vector<Step> steps = stepsFor(sql, count);
  const Step* present = steps.data();
  std::mt19937 random(1);
  int cuts = 0;
  Disk disk = diskWith(sql);
  disk.before = [&](int /*growth*/) {
    SCOPED_TRACE(testing::Message() << "cut " << ++cuts);
    std::bernoulli_distribution share(std::uniform_real_distribution<>(0, 1)(random));
    const std::function<bool()> losses[] = {[] { return false; }, [] { return true; },
                                            [&] { return share(random); }};
    for (const auto& isKept : losses) {
      if (!testing::Test::HasFailure()) {
        EXPECT_NO_THROW(expectRecovery(disk.afterCut(isKept), *present));
      }
    }
    return SQLITE_OK;
  };
  std::optional<Service> service;
  for (const Step& step : steps) {
    present = &step;
    startFor(step, service, disk);
    service->send(step);
  }
  return cuts;
}

TEST(PowerCut, LeavesEachConfirmedMessageOnceAndInOrder) {
  const int cuts = cutEachOperation(kDatabaseBefore, 1000) + cutEachOperation("", 50);
  std::cout << cuts << " cuts\n";
  EXPECT_GT(cuts, 9000);
}

TEST(ATransaction, ThatThrowsChangesNothing) {
  Disk disk;
  const auto mount = disk.mount();
  Database database("lists.db");
  Schema::open(database);
  const auto changeAndThrow = [&] {
    database.execute("UPDATE state SET newest = 7");
    throw std::bad_alloc();
  };
  EXPECT_THROW(database.transaction(changeAndThrow), std::bad_alloc);
  database.transaction([] {});
  EXPECT_EQ(database.queryNumber("SELECT newest FROM state"), 0);
}

struct Failure {
  int error;   ///< a full disk fails only operations for which it needs room
  bool stays;  ///< all later operations fail too, until a batch is refused
  int first;   ///< number of the operation that fails
  int operations = 0;
  int refused = 0;
};

/** Sends all steps but the last. After a refusal it sends the last too early, then the refused one again. */
void sendAll(const std::vector<Step>& steps, Failure& failure) {
  Disk disk = diskWith(kDatabaseBefore);
  disk.before = [&](int growth) {
    if (failure.refused > 0 || (failure.error == SQLITE_FULL && growth == 0)) {
      return SQLITE_OK;
    }
    const int over = ++failure.operations - failure.first;
    return over == 0 || (failure.stays && over > 0) ? failure.error : SQLITE_OK;
  };
  std::optional<Service> service;
  for (auto step = steps.begin(); step + 1 != steps.end() && failure.refused < 2;) {
    try {
      startFor(*step, service, disk);
      service->send(*step);
      EXPECT_EQ(service->text(), step->after);
      EXPECT_EQ(service->counters(), step->counters);
      ++step;
    } catch (const StorageError&) {
      ++failure.refused;
      if (service) {
        service->lists.recover();
        service->lists.trim();
        service->send(steps.back());
        EXPECT_EQ(service->text(), step->before) << "changed by a refused or by a later batch";
      }
    }
  }
  EXPECT_LT(failure.refused, 2) << "the next use fails";
}

TEST(FailingDisk, IsAnsweredWithNotNowAndNothingOvertakes) {
  const std::vector<Step> steps = stepsFor(kDatabaseBefore, 100);
  for (const auto& [error, stays] :
       {std::pair(SQLITE_FULL, true), {SQLITE_FULL, false}, {SQLITE_IOERR, true}, {SQLITE_IOERR, false}}) {
    int refused = 0;
    Failure failure{};
    do {
      failure = {error, stays, failure.first + 1};
      SCOPED_TRACE(testing::Message() << "error " << error << " at operation " << failure.first);
      sendAll(steps, failure);
      refused += failure.refused;
    } while (failure.first <= failure.operations && !HasFailure());
    std::cout << "error " << error << (stays ? " stays: " : " once: ") << failure.first - 1 << " operations, "
              << refused << " batches refused\n";
    EXPECT_GT(refused, 0);
  }
}

}  // namespace
