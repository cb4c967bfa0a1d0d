// A minimal service that stores entries as the list service does: the same table and settings, one
// transaction for all waiting calls, replies after the commit. The description is stored as JSON text. No
// sessions, no alarm list, no signals, no checks. Log takes one entry, Batch takes entries in the form that
// the library sends (desk/dbus/MessageFormat.h).

#include <poll.h>
#include <sqlite3.h>
#include <systemd/sd-bus.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "ListServiceNames.h"
#include "MessageFormat.h"

namespace {

constexpr int kMaxCalls = 256;
constexpr std::int64_t kCapacity = 10000;

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "PlainReceiver: %s\n", what);
  std::exit(1);
}
int check(int result) {
  if (result < 0) {
    fail(std::strerror(-result));
  }
  return result;
}

void appendText(std::string& json, const char* text) {
  json += '"';
  for (; *text != '\0'; ++text) {
    if (*text == '"' || *text == '\\') {
      json += '\\';
    }
    json += *text;
  }
  json += '"';
}

void readMap(sd_bus_message* call, std::string& json);

void readVariant(sd_bus_message* call, std::string& json) {
  const char* contents = nullptr;
  check(sd_bus_message_peek_type(call, nullptr, &contents));
  const std::string type = contents;
  check(sd_bus_message_enter_container(call, 'v', type.c_str()));
  if (type == "s") {
    const char* text = nullptr;
    check(sd_bus_message_read_basic(call, 's', &text));
    appendText(json, text);
  } else if (type == "i") {
    int number = 0;
    check(sd_bus_message_read_basic(call, 'i', &number));
    json += std::to_string(number);
  } else if (type == "av") {
    check(sd_bus_message_enter_container(call, 'a', "v"));
    json += '[';
    while (sd_bus_message_at_end(call, 0) == 0) {
      if (json.back() != '[') {
        json += ',';
      }
      readVariant(call, json);
    }
    json += ']';
    check(sd_bus_message_exit_container(call));
  } else {
    readMap(call, json);
  }
  check(sd_bus_message_exit_container(call));
}

void readMap(sd_bus_message* call, std::string& json) {
  check(sd_bus_message_enter_container(call, 'a', "{sv}"));
  json += '{';
  while (sd_bus_message_enter_container(call, 'e', "sv") > 0) {
    if (json.back() != '{') {
      json += ',';
    }
    const char* key = nullptr;
    check(sd_bus_message_read_basic(call, 's', &key));
    appendText(json, key);
    json += ':';
    readVariant(call, json);
    check(sd_bus_message_exit_container(call));
  }
  json += '}';
  check(sd_bus_message_exit_container(call));
}

std::string readTexts(sd_bus_message* call) {
  std::string json = "[";
  const char* text = nullptr;
  check(sd_bus_message_enter_container(call, 'a', "s"));
  while (check(sd_bus_message_read_basic(call, 's', &text)) > 0) {
    if (json.back() != '[') {
      json += ',';
    }
    appendText(json, text);
  }
  check(sd_bus_message_exit_container(call));
  return json + "]";
}

/** The entries of a batch, one after the other. */
class Batch {
 public:
  Batch(const char* begin, std::size_t size) : m_position(begin), m_end(begin + size) {}

  bool next() {
    if (m_position == m_end) {
      return false;
    }
    number<std::uint32_t>();  // size
    number<std::uint8_t>();   // kind
    return true;
  }

  template <class Number>
  Number number() {
    Number value;
    std::memcpy(&value, m_position, sizeof value);
    m_position += sizeof value;
    return value;
  }

  std::string text() {
    const auto size = number<std::uint32_t>();
    m_position += size;
    return {m_position - size, size};
  }

  std::string texts() {
    std::string json = "[";
    for (auto count = number<std::uint32_t>(); count > 0; --count) {
      appendText(json, text().c_str());
      json += count > 1 ? "," : "";
    }
    return json + "]";
  }

  std::string map() {
    std::string json = "{";
    for (auto count = number<std::uint32_t>(); count > 0; --count) {
      appendText(json, text().c_str());
      json += ':' + value() + (count > 1 ? "," : "");
    }
    return json + "}";
  }

 private:
  std::string value() {
    using Tavroline::MessageFormat::Tag;
    std::string json;
    switch (static_cast<Tag>(number<char>())) {
      case Tag::Int:
        return std::to_string(number<std::int32_t>());
      case Tag::Text:
        appendText(json, text().c_str());
        return json;
      case Tag::Map:
        return map();
      case Tag::List:
        json = "[";
        for (auto count = number<std::uint32_t>(); count > 0; --count) {
          json += value() + (count > 1 ? "," : "");
        }
        return json + "]";
      default:
        fail("a value of another type");
    }
  }

  const char* m_position;
  const char* m_end;
};

class Store {
 public:
  explicit Store(const char* file) {
    if (sqlite3_open(file, &m_database) != SQLITE_OK) {
      fail("the database cannot be opened");
    }
    execute(
        "PRAGMA locking_mode=EXCLUSIVE; PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL;"
        "CREATE TABLE events (id INTEGER PRIMARY KEY AUTOINCREMENT, event_type INTEGER NOT NULL,"
        " state INTEGER NOT NULL, icon_type TEXT NOT NULL, module_name TEXT NOT NULL, time INTEGER NOT NULL,"
        " description TEXT NOT NULL, keywords TEXT NOT NULL, user TEXT NOT NULL, alarm_id TEXT NOT NULL,"
        " object_name TEXT NOT NULL)");
    sqlite3_prepare_v3(m_database,
                       "INSERT INTO events (event_type, state, icon_type, module_name, time, description,"
                       " keywords, user, alarm_id, object_name) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
                       -1, SQLITE_PREPARE_PERSISTENT, &m_insert, nullptr);
    sqlite3_prepare_v3(m_database, "DELETE FROM events WHERE id <= ?", -1, SQLITE_PREPARE_PERSISTENT, &m_drop,
                       nullptr);
  }

  void add(sd_bus_message* call) {
    const char *session = nullptr, *icon = nullptr, *module = nullptr, *user = nullptr, *alarm = nullptr,
               *object = nullptr;
    std::uint64_t sequence = 0;
    int type = 0, state = 0;
    std::int64_t time = 0;
    std::string description;
    check(sd_bus_message_read(call, "stiissx", &session, &sequence, &type, &state, &icon, &module, &time));
    readMap(call, description);
    const std::string keywords = readTexts(call);
    check(sd_bus_message_read(call, "sss", &user, &alarm, &object));

    begin();
    insert(type, state, time, {icon, module, description.c_str(), keywords.c_str(), user, alarm, object});
    m_calls.push_back(sd_bus_message_ref(call));
  }

  void addBatch(sd_bus_message* call) {
    const void* bytes = nullptr;
    std::size_t size = 0;
    check(sd_bus_message_read_array(call, 'y', &bytes, &size));
    Batch batch(static_cast<const char*>(bytes), size);
    begin();
    while (batch.next()) {
      const std::string alarm = batch.text();
      const int state = batch.number<std::int32_t>();
      const int type = batch.number<std::int32_t>();
      const auto time = batch.number<std::int64_t>();
      const std::string icon = batch.text(), module = batch.text(), user = batch.text(),
                        object = batch.text();
      const std::string keywords = batch.texts(), description = batch.map();
      insert(type, state, time,
             {icon.c_str(), module.c_str(), description.c_str(), keywords.c_str(), user.c_str(),
              alarm.c_str(), object.c_str()});
    }
    m_calls.push_back(sd_bus_message_ref(call));
  }

  void commit() {
    if (m_calls.empty()) {
      return;
    }
    sqlite3_bind_int64(m_drop, 1, sqlite3_last_insert_rowid(m_database) - kCapacity);
    sqlite3_step(m_drop);
    sqlite3_reset(m_drop);
    execute("COMMIT");
    m_stored += m_inserted;
    m_inserted = 0;
    for (sd_bus_message* const call : m_calls) {
      if (sd_bus_message_get_expect_reply(call) > 0) {
        check(sd_bus_reply_method_return(call, ""));
      }
      sd_bus_message_unref(call);
    }
    m_calls.clear();
  }

  std::uint64_t stored() const { return m_stored; }

 private:
  void begin() {
    if (m_calls.empty()) {
      execute("BEGIN");
    }
  }

  void insert(int type, int state, std::int64_t time, std::initializer_list<const char*> texts) {
    sqlite3_bind_int(m_insert, 1, type);
    sqlite3_bind_int(m_insert, 2, state);
    sqlite3_bind_int64(m_insert, 5, time);
    int column = 0;
    for (const char* text : texts) {
      static constexpr int kColumns[] = {3, 4, 6, 7, 8, 9, 10};
      sqlite3_bind_text(m_insert, kColumns[column++], text, -1, SQLITE_STATIC);
    }
    if (sqlite3_step(m_insert) != SQLITE_DONE) {
      fail(sqlite3_errmsg(m_database));
    }
    sqlite3_reset(m_insert);
    ++m_inserted;
  }

  void execute(const char* sql) {
    if (sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
      fail(sqlite3_errmsg(m_database));
    }
  }

  sqlite3* m_database = nullptr;
  sqlite3_stmt* m_insert = nullptr;
  sqlite3_stmt* m_drop = nullptr;
  std::vector<sd_bus_message*> m_calls;
  std::uint64_t m_inserted = 0;  ///< since the last commit
  std::uint64_t m_stored = 0;
};

int onLog(sd_bus_message* call, void* store, sd_bus_error* /*error*/) {
  static_cast<Store*>(store)->add(call);
  return 1;
}

int onBatch(sd_bus_message* call, void* store, sd_bus_error* /*error*/) {
  static_cast<Store*>(store)->addBatch(call);
  return 1;
}

int onStatistics(sd_bus_message* call, void* store, sd_bus_error* /*error*/) {
  static_cast<Store*>(store)->commit();
  return sd_bus_reply_method_return(call, "a{st}", 1, "stored", static_cast<Store*>(store)->stored());
}

const sd_bus_vtable kMethods[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Log", "stiissxa{sv}assss", "", onLog, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Batch", "ay", "", onBatch, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("GetStatistics", "", "a{st}", onStatistics, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

}  // namespace

/** Arguments: NAME, the bus name to own; FILE, the database, ":memory:" for none. */
int main(int argc, char** argv) {
  if (argc != 3) {
    fail("use: PlainReceiver NAME FILE");
  }
  Store store(argv[2]);
  sd_bus* bus = nullptr;
  check(sd_bus_open_system(&bus));
  check(sd_bus_add_object_vtable(bus, nullptr, Tavroline::ListServiceNames::kEventListPath,
                                 Tavroline::ListServiceNames::kEventListInterface, kMethods, &store));
  check(sd_bus_request_name(bus, argv[1], 0));
  for (;;) {
    int waiting = 1;
    for (int handled = 0; handled < kMaxCalls && waiting > 0; ++handled) {
      waiting = check(sd_bus_process(bus, nullptr));
    }
    store.commit();
    pollfd file = {sd_bus_get_fd(bus), static_cast<short>(check(sd_bus_get_events(bus))), 0};
    poll(&file, 1, waiting > 0 ? 0 : -1);
  }
}
