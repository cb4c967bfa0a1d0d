// The list service's storage with 10,000, 100,000 and a million entries, in a database file and without the
// bus: start, insertion into a full list, the newest 1,000 entries, and the whole list in pages. Values are
// nanoseconds of processor time per entry.

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <limits>
#include <memory>
#include <stdexcept>

#include "ListService.h"
#include "MessageWriter.h"
#include "Schema.h"

namespace {

constexpr int kBatch = 100;
constexpr qint64 kPage = 1000;
constexpr int kTimes = 5;

/** The service's storage, opened. */
struct Store {
  Store(const std::string& file, qint64 capacity)
      : database(file), service((Schema::open(database), database), {capacity, {}, capacity}) {}
  Database database;
  ListService service;
};

std::string batch() {
  std::string bytes;
  for (int i = 0; i < kBatch; ++i) {
    Tavroline::MessageWriter message;
    const auto text = [](const char* utf8) { return QString::fromUtf8(utf8); };
    message.entry({}, 0, 3, 1700000000000, text("IconPump"), text("Pump station"), {}, text("Pump"),
                  {text("water"), text("pump")},
                  {{text("ModuleName"), text("Pump station")},
                   {text("ObjectName"), text("Pump started")},
                   {text("InstanceName"), text("Pump 1")}});
    bytes += message.bytes();
  }
  return bytes;
}

void insert(ListService& service, qint64 entries) {
  const std::string bytes = batch();
  const Sender sender{"bench", 0};
  for (qint64 i = 0; i < entries; i += kBatch) {
    const quint64 first = service.stored(sender.session).upTo + 1;
    service.store(sender, first, first - 1, MessageReader::read(bytes));
  }
}

void readPages(ListService& service, qint64 entries) {
  for (qint64 after = 0, read = 0; read < entries; read += kPage) {
    after = service.events().page(after, kPage, "en").last;
    if (after == 0) {
      throw std::runtime_error("entries are missing");
    }
  }
}

/** Print the least of several times, per entry. */
template <class Work>
void measure(const char* name, qint64 size, qint64 entries, const Work& work) {
  auto least = std::numeric_limits<std::clock_t>::max();
  for (int i = 0; i < kTimes; ++i) {
    const std::clock_t start = std::clock();
    work();
    least = std::min(least, std::clock() - start);
  }
  const double each = 1e9 / CLOCKS_PER_SEC * static_cast<double>(least) / static_cast<double>(entries);
  std::printf("{\"name\": \"%s/%lld\", \"value\": %.1f}\n", name, size, each);
  std::fflush(stdout);
}

void measureList(const std::string& file, qint64 size) {
  auto store = std::make_unique<Store>(file, size);
  insert(store->service, size);
  measure("insert", size, 10000, [&] { insert(store->service, 10000); });
  measure("newest", size, kPage, [&] { store->service.events().list(kPage, "en"); });
  measure("whole", size, size, [&] { readPages(store->service, size); });
  measure("start", size, size, [&] {
    store.reset();
    store = std::make_unique<Store>(file, size);
  });
}

}  // namespace

int main() {
  std::string folder = (std::filesystem::temp_directory_path() / "tavroline-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) {
    std::perror("mkdtemp");
    return 1;
  }
  for (const qint64 size : {10000, 100000, 1000000}) {
    measureList(folder + "/lists.db", size);
    std::filesystem::remove(folder + "/lists.db");
  }
  std::filesystem::remove_all(folder);
}
