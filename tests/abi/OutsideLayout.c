/*
 * The library as an IEC application meets it. This program plays the component manager with raw words, fills
 * raw bytes by the table in OutsideTable.h and calls every registered function. It includes no header of the
 * library.
 *
 * Use: OutsideLayout LIBRARY [service]; with `service`, one with empty lists is on the bus, otherwise no bus.
 */
#include <dlfcn.h>
#include <stdio.h>
#include <time.h>

#include "OutsideTable.h"

static int failures;
#define CHECK(condition, where) check((condition), #condition, where, __LINE__)
static void check(bool holds, const char* condition, const char* where, int line) {
  if (!holds) fprintf(stderr, "line %d, %s: not true: %s\n", line, where, condition), ++failures;
}

static bool service;
enum { EXPORT = 1, HOOK = 6, REGISTER = 7, WORDS = 15 };
static uint32_t record[WORDS];
static const uint32_t* table;
static bool called[FUNCTIONS];

static uint32_t registerTable(const uint32_t* rows, uint32_t reserved, uint32_t external) {
  if (reserved == 0 && external == 1) table = rows;
  return 0;
}

#define COMPONENT(index) ((uint32_t(*)(uint32_t, uint32_t, uint32_t))(uintptr_t)record[index])

/** Play the component manager, then compare the registered table row by row. */
static void enter(void* library) {
  record[REGISTER] = WORD(registerTable);
  ((int (*)(uint32_t*))(uintptr_t)dlsym(library, "ComponentEntry"))(record);
  COMPONENT(EXPORT)(0, 0, 0);
  for (const Layout* function = kLayouts; function < kLayouts + FUNCTIONS; ++function) {
    const uint32_t* row = table + 4 * (function - kLayouts);
    CHECK(row[0] == WORD(dlsym(library, function->name)), function->name);
    CHECK(strcmp((const char*)(uintptr_t)row[1], function->name) == 0, function->name);
    CHECK(row[2] == function->signature && row[3] == 0x01000105, function->name);
  }
}

/** Call through the registered table: nothing but the outputs may differ afterwards. */
static Memory call(Memory m) {
  const Memory before = m;
  const size_t row = (size_t)(m.layout - kLayouts);
  called[row] = true;
  ((void (*)(void*))(uintptr_t)table[4 * row])(m.bytes);
  CHECK(onlyOutputs(before, m), m.layout->name);
  return m;
}
#define CALL(...) call(FILLED(__VA_ARGS__))

/** What is logged and, with the German text, read again, by the type. */
static const struct {
  uint32_t time;
  const char *object, *description;
} kLogged[] = {{4102444800u, "LevelHigh", "Station: Pegel hoch P7 <u://North: gate -2>"},
               {2000000000u, "SetpointChanged", "Station: Sollwert ge\xe4ndert P7 <u://North: gate -2>"},
               [3] = {4102444800u, "PumpStarted", "Station: Pumpe gestartet P7 <u://North: gate -2>"}};
static const uint16_t kUser[] = u"J\u00fcrgen";

/** Log an entry of the event list, or the state of an alarm when there is a handle. */
static void logEntry(uint32_t handle, uint32_t type, uint32_t state) {
  static const char keywords[2][81] = {"", "pump"};
  const Memory data = FILLED("stDataType", 1, WORD("Station"), WORD(kLogged[type].object), WORD("{what}%d"),
                             7, WORD("u://{where}"));
  const Memory argument = FILLED("stDescriptionArgumentType", WORD("{what}"), WORD("P"));
  const Memory url = FILLED("stDescriptionUrlArgumentType", WORD("{where}"), 0, WORD("North"), WORD("gate"),
                            WORD("%d"), (uint32_t)-2, WORD(""));
  /* An audit entry carries no keyword. */
  const uint32_t* values = VALUES(handle, type, state, WORD("valve"), WORD("Pumps"), kLogged[type].time,
                                  WORD(data.bytes), WORD(kUser), 81, WORD(keywords), WORD(argument.bytes),
                                  WORD(url.bytes), 5, type == 1 ? 4 : 6, (uint32_t)-3, (uint32_t)-3, 0, 0);
  call(handle == 0 ? fill("logevent_ext", values + 1) : fill("logalarm_ext", values));
}

enum { ROOM = 3 };
static _Alignas(8) unsigned char entries[ROOM * 856];
static const char* const kEvents[] = {"geteventlistentries_ext", "stGetEventlistEntriesType",
                                      "stEventlistEntryType"};
static const char* const kAlarms[] = {"getalarmlistentries_ext", "stGetAlarmlistEntriesType",
                                      "stAlarmlistEntryType"};

static void checkEntry(Memory m) {
  const uint64_t type = get(m, "iEventType") & 3;
  CHECK(get(m, "dtTimestamp") == kLogged[type].time, m.layout->name);
  CHECK(holds(m, "sIconType", "valve") && holds(m, "sModuleName", "Pumps"), m.layout->name);
  CHECK(holds(m, "wsDescription", kLogged[type].description), m.layout->name);
  if (type == 0)
    CHECK(get(m, "xAlarmAcknowledgment") == 0 && get(m, "xAlarmActive") == 1, m.layout->name);
  else
    CHECK(get(m, "uliEventlistId") == (type == 3 ? 1 : 2) && holds(m, "wsUser", "J\xfcrgen"), m.layout->name);
}

/** Copy into `entries`; nothing but fields of the counted ones is written. @return their number. */
static uint32_t copy(const char* const* list, uint32_t handle) {
  const Memory empty = fill(list[2], NULL), filled = FILLED(list[1], handle, WORD(entries), ROOM);
  Memory request = filled;
  memset(entries, UNTOUCHED, sizeof entries);
  CALL(list[0], WORD(request.bytes));
  CHECK(onlyOutputs(filled, request) && get(request, "iResult") == 0, list[1]);
  const uint32_t count = (uint32_t)get(request, "diNumberOfEntries"), size = empty.layout->size;
  for (size_t i = 0; i < ROOM; ++i) {
    Memory entry = empty;
    memcpy(entry.bytes, entries + i * size, size);
    if (i < count) checkEntry(entry);
    CHECK(i < count ? onlyOutputs(empty, entry) : memcmp(entry.bytes, empty.bytes, size) == 0, list[2]);
  }
  return count;
}

/** A call with a handle; then `output` comes to be `wanted`, or without one as many entries pass. */
typedef struct {
  const char* function;
  uint32_t values[2];
  const char* output;
  uint32_t wanted;
} Step;

// clang-format off
/* Of an event of type 3 with the keyword "pump" in 2100 and an audit entry in 2033. */
static const Step kEventSteps[] = {
    {"addfiltereventtype_ext", {2}, NULL, 0},               {"loadpartofeventlist_ext", {1}, "iResult", 0},
    {"resetfilterall_ext", {0}, NULL, 1},                   {"loadcompleteeventlist_ext", {0}, "iResult", 0},
    {"addfiltereventtype_ext", {3}, NULL, 1},               {"clearfiltereventtype_ext", {3}, NULL, 2},
    {"addfiltereventtype_ext", {2}, NULL, 0},               {"resetfiltereventtype_ext", {0}, NULL, 2},
    {"addfilterkeyword_ext", {0, WORD("pump")}, NULL, 1},   {"clearfilterkeyword_ext", {0, WORD("pump")}, NULL, 2},
    {"addfilterkeyword_ext", {1, WORD("pump")}, NULL, 1},   {"resetfilterkeyword_ext", {1}, NULL, 2},
    {"setfiltertime_ext", {3000000000u, 1}, NULL, 1},       {"resetfiltertime_ext", {0}, NULL, 2},
    {"haslistchanged_ext", {0}, "xListChanged", 1},         {"resetlistchanged_ext", {0}, NULL, 2},
    {"haslistchanged_ext", {0}, "xListChanged", 0},         {"deleteeventlist_ext", {0}, NULL, 2},
    {"loadcompleteeventlist_ext", {0}, "iResult", 0},       {"resetfilterall_ext", {0}, NULL, 0}};
/* Of one active, unacknowledged alarm, and after its acknowledgement. */
static const Step kAlarmSteps[] = {
    {"isalarminalarmlist_ext", {0}, "xAlarmInAlarmlist", 1}, {"isfaultinalarmlist_ext", {0}, "xFaultInAlarmlist", 0},
    {"isactivealarminalarmlist_ext", {0}, "xActiveAlarmInAlarmlist", 1},
    {"isactivefaultinalarmlist_ext", {0}, "xActiveFaultInAlarmlist", 0},
    {"getcentraldetectorstate_ext", {0}, "xCentralDetectorState", 1},
    {"loadcompletealarmlist_ext", {0}, "iResult", 0},     {"setfilterstatealarm_ext", {0}, NULL, 0},
    {"setfilterstatealarm_ext", {0x80}, NULL, 1},         {"setfilterstateacknowledge_ext", {1}, NULL, 0},
    {"resetfilterstatealarm_ext", {0}, NULL, 0},          {"resetfilterstateacknowledge_ext", {0}, NULL, 1}};
static const Step kAcknowledgedSteps[] = {{"getcentraldetectorstate_ext", {0}, "xCentralDetectorState", 0}};
// clang-format on

/** Without a service results are 2, flags false and lists empty. An output has half a minute to come. */
static void run(const char* const* list, uint32_t handle, const Step* step, size_t count) {
  const struct timespec pause = {0, 2000000};
  for (; count > 0; --count, ++step) {
    const bool result = step->output != NULL && strcmp(step->output, "iResult") == 0;
    const uint32_t wanted = service ? step->wanted : result ? 2 : 0;
    uint32_t found = wanted + 1;
    for (const time_t end = time(NULL) + 30; found != wanted && time(NULL) < end; nanosleep(&pause, NULL)) {
      const Memory answer = CALL(step->function, handle, step->values[0], step->values[1]);
      found = step->output != NULL ? (uint32_t)get(answer, step->output) : copy(list, handle);
      if (found != wanted) COMPONENT(HOOK)(20, 0, 0);
    }
    CHECK(found == wanted, step->function);
  }
}
#define RUN(list, handle, steps) run(list, handle, steps, sizeof(steps) / sizeof *(steps))

static uint32_t openReader(const char* function) {
  const Memory opened = CALL(function, 0);
  const uint32_t handle = (uint32_t)get(opened, "hReadHandle");
  CHECK(get(opened, "xSuccess") == 1 && handle != 0, function);
  CALL("setlistreadlanguage_ext", handle, WORD("de"));
  return handle;
}

/** Query the alarm until there is an answer, then compare the two bytes and their neighbours. */
static void query(uint32_t handle, uint32_t acknowledged) {
  uint32_t bytes = 0xA5A5A5A5;
  const Step step = {"getalarmstatefromalarmhandler_ext", {WORD(&bytes) + 1, WORD(&bytes) + 2}, "iResult", 0};
  run(kAlarms, handle, &step, 1);
  CHECK(bytes == (service ? 0xA50001A5 | acknowledged << 16 : 0xA5A5A5A5), step.function);
}

static void eventRoad(void) {
  const uint32_t reader = openReader("openeventlistreadhandle_ext");
  logEntry(0, 3, 1);
  logEntry(0, 1, 0);
  RUN(kEvents, reader, kEventSteps);
  CALL("closeeventlistreadhandle_ext", reader);
}

static void alarmRoad(void) {
  const uint32_t reader = openReader("openalarmlistreadhandle_ext");
  const uint32_t handle = (uint32_t)get(CALL("openalarmlistwritehandle_ext", 0), "hWriteHandle");
  logEntry(handle, 0, 1);
  query(handle, 0);
  RUN(kAlarms, reader, kAlarmSteps);
  char ids[2][81] = {"", "nobody"};
  if (service)
    memcpy(ids[1], entries + fieldOf(fill(kAlarms[2], NULL).layout, "sAlarmID")->offset, sizeof ids[1]);
  CALL("acknowledgevisualalarm_ext", 81, WORD(kUser), WORD(ids), (uint32_t)-1, 0);
  CALL("acknowledgecentraldetector_ext", WORD(kUser));
  query(handle, 1);
  RUN(kAlarms, reader, kAcknowledgedSteps);
  CHECK(get(CALL("closealarmlistwritehandle_ext", handle), "hWriteHandle") == 0, "close");
  CALL("closealarmlistreadhandle_ext", reader);
}

int main(int count, char** arguments) {
  service = count == 3 && strcmp(arguments[2], "service") == 0;
  void* library = count >= 2 ? dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  if (library == NULL) return fprintf(stderr, "%s\n", dlerror()), 2;
  enter(library);
  eventRoad();
  alarmRoad();
  for (size_t i = 0; i < FUNCTIONS; ++i)
    CHECK(called[i], kLayouts[i].name);
  return failures == 0 ? 0 : 1;
}
