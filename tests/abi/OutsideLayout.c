/*
 * The library as an IEC application meets it. This program plays the component manager with raw words, fills
 * raw bytes by the table in OutsideTable.h and calls every registered function. It includes no header of the
 * library.
 *
 * Use: OutsideLayout LIBRARY [service]; with `service`, one with empty lists must be on the bus, otherwise no
 * bus.
 */
#include <dlfcn.h>
#include <time.h>

#include "OutsideTable.h"

static int failures;
#define CHECK(condition) check((condition), #condition, __LINE__)
static bool check(bool holds, const char* condition, int line) {
  if (!holds) fprintf(stderr, "line %d: not true: %s\n", line, condition), ++failures;
  return holds;
}

static bool service;
enum { EXPORT = 1, IMPORT = 2, VERSION = 3, HOOK = 6, REGISTER = 7, LOOK_UP = 13, WORDS = 14 };
static uint32_t record[WORDS + 1], imports;
static const uint32_t* table;
static bool called[FUNCTIONS];

static uint32_t registerTable(const uint32_t* rows, uint32_t reserved, uint32_t external, uint32_t id) {
  CHECK(reserved == 0 && external == (table == NULL ? 1 : 0) && id == record[0]);
  if (table == NULL) table = rows;
  return 0;
}

static uint32_t lookUp(const char* name, const uint32_t* variable, uint32_t option, uint32_t id,
                       uint32_t version) {
  CHECK(*variable == 0 && option == (strcmp(name, "CMUtlSafeStrCpy") == 0 ? 0 : 2) && id == 0 &&
        version == 0);
  ++imports;
  return 1; /* not found: the library's log goes to the standard error */
}

static uint32_t component(int index, uint32_t argument) {
  return ((uint32_t(*)(uint32_t, uint32_t, uint32_t))(uintptr_t)record[index])(argument, 0, 0);
}

/** Play the component manager: entry, import, export; then compare the table row by row. */
static void enter(void* library) {
  uint32_t before[WORDS + 1];
  memset(record, UNTOUCHED, sizeof record);
  record[REGISTER] = (uint32_t)(uintptr_t)registerTable;
  record[LOOK_UP] = (uint32_t)(uintptr_t)lookUp;
  memcpy(before, record, sizeof record);
  CHECK(((int (*)(uint32_t*))(uintptr_t)dlsym(library, "ComponentEntry"))(record) == 0);
  CHECK((record[0] & 0xFFFF3000) == 0x1B4E3000 && record[4] == 0 && record[5] == 0);
  CHECK(memcmp(record + REGISTER, before + REGISTER, (WORDS + 1 - REGISTER) * 4) == 0);
  CHECK(component(VERSION, 0) == 0x01000104);
  CHECK(component(IMPORT, 0) == 1 && imports == 7);
  CHECK(component(EXPORT, 0) == 0);
  for (uint32_t i = 0; i <= FUNCTIONS; ++i) {
    const uint32_t* row = table + 4 * i;
    const Layout end = {"", 0, 0, NULL}, *expected = i < FUNCTIONS ? &kFunctions[i] : &end;
    CHECK(row[0] == (i < FUNCTIONS ? word(dlsym(library, expected->name)) : 0));
    CHECK(strcmp((const char*)(uintptr_t)row[1], expected->name) == 0);
    CHECK(row[2] == expected->signature && row[3] == (i < FUNCTIONS ? 0x01000105 : 0));
  }
}

/** Call through the registered table: nothing but the outputs may differ afterwards. */
static Memory call(Memory m) {
  const Memory before = m;
  const size_t row = (size_t)(m.layout - kFunctions);
  called[row] = true;
  ((void (*)(void*))(uintptr_t)table[4 * row])(m.layout->size == 0 ? NULL : m.bytes);
  for (uint32_t i = 0; i < sizeof m.bytes; ++i)
    if (!CHECK(m.bytes[i] == before.bytes[i] || written(m.layout, i)))
      fprintf(stderr, "%s, byte %u\n", m.layout->name, i);
  return m;
}
#define CALL(...) call(FILLED(__VA_ARGS__))
/** Call again and again, with the hook between, until the output is `wanted`; half a minute at most. */
static bool comes(const char* function, uint32_t handle, const char* output, uint32_t wanted) {
  const struct timespec pause = {0, 2000000};
  for (const time_t end = time(NULL) + 30; time(NULL) < end; nanosleep(&pause, NULL))
    if (CHECK(component(HOOK, 20) == 0) && get(CALL(function, "hReadHandle", handle), output) == wanted)
      return true;
  return false;
}

enum { ROOM = 3 };
static _Alignas(8) unsigned char entries[ROOM * 856];
typedef struct {
  const char *function, *request, *entry;
} List;
static const List kEvents = {"geteventlistentries_ext", "stGetEventlistEntriesType", "stEventlistEntryType"};
static const List kAlarms = {"getalarmlistentries_ext", "stGetAlarmlistEntriesType", "stAlarmlistEntryType"};

/** Copy into `entries` and check that nothing but fields of the counted entries was written. @return their
 * number. */
static uint32_t copy(List list, uint32_t handle) {
  const Layout* layout = layoutOf(list.entry);
  Memory request =
      FILLED(list.request, "hReadHandle", handle, "pastEntries", word(entries), "diMaxEntries", ROOM);
  const Memory before = request;
  memset(entries, UNTOUCHED, sizeof entries);
  CALL(list.function, "pstRequest", word(request.bytes));
  const uint32_t count = get(request, "diNumberOfEntries");
  CHECK(get(request, "iResult") == 0 && count <= ROOM);
  for (uint32_t i = 0; i < sizeof request.bytes; ++i)
    CHECK(request.bytes[i] == before.bytes[i] || written(request.layout, i));
  for (uint32_t i = 0; i < sizeof entries; ++i)
    CHECK(entries[i] == UNTOUCHED || (i < count * layout->size && written(layout, i % layout->size)));
  return count;
}

typedef struct {
  const char *function, *field;
  uint32_t value, left; /* entries that pass afterwards */
} Step;

// clang-format off
/* Of an event of type 3 with the keyword "pump" in 2100 and an audit entry in 2033. A bound of setfiltertime_ext that a
 * step leaves alone lies in 2058. */
static const Step kEventSteps[] = {
    {"addfiltereventtype_ext", "iEventType", 3, 1}, {"clearfiltereventtype_ext", "iEventType", 3, 2},
    {"addfiltereventtype_ext", "iEventType", 2, 0}, {"resetfiltereventtype_ext", NULL, 0, 2},
    {"addfilterkeyword_ext", "iFilterType", 0, 1},  {"clearfilterkeyword_ext", "iFilterType", 0, 2},
    {"addfilterkeyword_ext", "iFilterType", 1, 1},  {"resetfilterkeyword_ext", "iFilterType", 0, 1},
    {"resetfilterall_ext", NULL, 0, 2},             {"setfiltertime_ext", "dtEarliest", 1, 1},
    {"resetfiltertime_ext", NULL, 0, 2},            {"setfiltertime_ext", "dtLatest", 1, 0},
    {"resetfilterall_ext", NULL, 0, 2}};
/* Of one active, unacknowledged alarm. */
static const Step kAlarmSteps[] = {
    {"setfilterstatealarm_ext", "xActive", 0, 0},             {"setfilterstatealarm_ext", "xActive", 0x80, 1},
    {"setfilterstateacknowledge_ext", "xAcknowledged", 1, 0}, {"resetfilterstatealarm_ext", NULL, 0, 0},
    {"resetfilterstateacknowledge_ext", NULL, 0, 1},          {"addfiltereventtype_ext", "iEventType", 2, 0},
    {"resetfilterall_ext", NULL, 0, 1}};
// clang-format on

static void filter(const Step* step, size_t count, List list, uint32_t handle) {
  for (; count > 0; --count, ++step) {
    const char* keyword =
        strstr(step->function, "rkeyword") != NULL && step->function[0] != 'r' ? "psKeyword" : NULL;
    if (step->field == NULL)
      CALL(step->function, "hReadHandle", handle);
    else
      CALL(step->function, "hReadHandle", handle, step->field, step->value, keyword, word("pump"));
    if (!CHECK(copy(list, handle) == (service ? step->left : 0)))
      fprintf(stderr, "after %s\n", step->function);
  }
}

static const uint32_t kIn2100 = 4102444800u, kIn2033 = 2000000000u;
static const uint16_t kUser[] = u"J\u00fcrgen";

/** Log an entry of the event list, or the state of an alarm when there is a handle. */
static void logEntry(uint32_t handle, uint32_t type, uint32_t state, uint32_t time, const char* object) {
  static const char keywords[2][81] = {"", "pump"};
  const Memory data =
      FILLED("stDataType", "iTextSource", 1, "sModuleName", word("Station"), "sObjectName", word(object),
             "sInstanceName", word("{what}%d"), "iInstanceNumber", 7, "sUrl", word("u://{where}"));
  const Memory argument =
      FILLED("stDescriptionArgumentType", "wsPlaceholder", word(u"{what}"), "wsArgument", word(u"P"));
  const Memory url = FILLED("stDescriptionUrlArgumentType", "wsPlaceholder", word(u"{where}"), "iTextSource",
                            0, "sModuleName", word("North"), "sObjectName", word("gate"), "sInstanceName",
                            word("%d"), "iInstanceNumber", -2, "sUrl", word(""));
  /* An audit entry carries no keyword. */
  CALL(handle == 0 ? "logevent_ext" : "logalarm_ext", "iEventType", type, "iState", state, "psIconType",
       word("valve"), "psModuleName", word("Pumps"), "dtDateTime", time, "pstData", word(data.bytes),
       "pwsUser", word(kUser), "iKeywordSize", 81, "pasKeywords", word(keywords), "pastArguments",
       word(argument.bytes), "pastUrlArguments", word(url.bytes), "keywords.lower", 5, "keywords.upper",
       type == 1 ? 4 : 6, "arguments.lower", -3, "arguments.upper", -3, "urls.lower", 0, "urls.upper", 0,
       handle == 0 ? NULL : "hWriteHandle", handle);
}

#define HOLDS(entry, layout, field, text) \
  CHECK(memcmp((entry) + fieldOf(layout, field).offset, text, sizeof(text)) == 0)
static void checkEntry(const Layout* layout, const unsigned char* entry, uint32_t type, uint32_t time) {
  CHECK(number(entry, layout, "iEventType") == type && number(entry, layout, "dtTimestamp") == time);
  HOLDS(entry, layout, "sIconType", "valve");
  HOLDS(entry, layout, "sModuleName", "Pumps");
}

static void eventRoad(void) {
  const Layout* layout = layoutOf(kEvents.entry);
  const Memory opened = CALL("openeventlistreadhandle_ext");
  const uint32_t reader = get(opened, "hReadHandle");
  CHECK(get(opened, "xSuccess") == 1 && reader != 0 && reader % 4 == 0);
  CALL("setlistreadlanguage_ext", "hReadHandle", reader, "psLanguage", word("de"));
  logEntry(0, 3, 1, kIn2100, "PumpStarted");
  logEntry(0, 1, 0, kIn2033, "SetpointChanged");
  CHECK(comes("loadcompleteeventlist_ext", reader, "iResult", service ? 0 : 2));
  CHECK(copy(kEvents, reader) == (service ? 2 : 0));
  if (service) {
    const unsigned char* older = entries + layout->size;
    checkEntry(layout, entries, 1, kIn2033);
    checkEntry(layout, older, 3, kIn2100);
    HOLDS(entries, layout, "wsDescription", u"Station: Sollwert ge\u00e4ndert P7 <u://North: gate -2>");
    HOLDS(older, layout, "wsDescription", u"Station: Pumpe gestartet P7 <u://North: gate -2>");
    HOLDS(older, layout, "wsUser", kUser);
    const uint64_t id = number(older, layout, "uliEventlistId");
    CHECK(id < 0x10000 && number(entries, layout, "uliEventlistId") == id + 1);
  }
  filter(kEventSteps, sizeof kEventSteps / sizeof *kEventSteps, kEvents, reader);

  /* The count of the call that starts the load holds; comes() gives another one. */
  CALL("loadpartofeventlist_ext", "hReadHandle", reader, "uiNumberOfEntries", 1);
  CHECK(comes("loadpartofeventlist_ext", reader, "iResult", service ? 0 : 2));
  CHECK(copy(kEvents, reader) == (service ? 1 : 0));
  CALL("deleteeventlist_ext");
  CHECK(comes("haslistchanged_ext", reader, "xListChanged", service));
  CALL("resetlistchanged_ext", "hReadHandle", reader);
  CHECK(get(CALL("haslistchanged_ext", "hReadHandle", reader), "xListChanged") == 0);
  CALL("closeeventlistreadhandle_ext", "hReadHandle", reader);
}

/** Query the alarm until there is an answer, then compare the two bytes and their neighbours. */
static void query(uint32_t handle, unsigned char active, unsigned char acknowledged) {
  const unsigned char untouched[4] = {UNTOUCHED, UNTOUCHED, UNTOUCHED, UNTOUCHED};
  const unsigned char answered[4] = {UNTOUCHED, active, acknowledged, UNTOUCHED};
  const struct timespec pause = {0, 2000000};
  unsigned char bytes[4];
  memcpy(bytes, untouched, sizeof bytes);
  uint32_t result = 1;
  for (const time_t end = time(NULL) + 30; result == 1 && time(NULL) < end; nanosleep(&pause, NULL))
    result = get(CALL("getalarmstatefromalarmhandler_ext", "hWriteHandle", handle, "pxActive",
                      word(bytes + 1), "pxAcknowledged", word(bytes + 2)),
                 "iResult");
  CHECK(result == (service ? 0 : 2) && memcmp(bytes, service ? answered : untouched, sizeof bytes) == 0);
}

static void alarmRoad(void) {
  const Layout* layout = layoutOf(kAlarms.entry);
  const Memory opened = CALL("openalarmlistreadhandle_ext");
  const uint32_t reader = get(opened, "hReadHandle");
  const uint32_t handle = get(CALL("openalarmlistwritehandle_ext"), "hWriteHandle");
  CHECK(get(opened, "xSuccess") == 1 && reader != 0 && handle != 0);
  CALL("setlistreadlanguage_ext", "hReadHandle", reader, "psLanguage", word("de"));
  logEntry(handle, 0, 1, kIn2100, "LevelHigh");
  query(handle, 1, 0);
  CHECK(comes("isalarminalarmlist_ext", reader, "xAlarmInAlarmlist", service));
  CHECK(comes("isactivealarminalarmlist_ext", reader, "xActiveAlarmInAlarmlist", service));
  CHECK(comes("getcentraldetectorstate_ext", reader, "xCentralDetectorState", service));
  CHECK(comes("isfaultinalarmlist_ext", reader, "xFaultInAlarmlist", 0));
  CHECK(comes("isactivefaultinalarmlist_ext", reader, "xActiveFaultInAlarmlist", 0));
  CHECK(comes("loadcompletealarmlist_ext", reader, "iResult", service ? 0 : 2));
  CHECK(copy(kAlarms, reader) == service);
  char ids[2][81] = {"", "nobody"};
  if (service) {
    checkEntry(layout, entries, 0, kIn2100);
    HOLDS(entries, layout, "wsDescription", u"Station: Pegel hoch P7 <u://North: gate -2>");
    CHECK(number(entries, layout, "xAlarmActive") == 1 &&
          number(entries, layout, "xAlarmAcknowledgment") == 0);
    memcpy(ids[1], entries + fieldOf(layout, "sAlarmID").offset, sizeof ids[1]);
  }
  filter(kAlarmSteps, sizeof kAlarmSteps / sizeof *kAlarmSteps, kAlarms, reader);

  CALL("acknowledgevisualalarm_ext", "iAlarmIdSize", 81, "pwsUser", word(kUser), "pasAlarmIds", word(ids),
       "alarmIds.lower", -1, "alarmIds.upper", 0);
  CALL("acknowledgecentraldetector_ext", "pwsUser", word(kUser));
  query(handle, 1, 1);
  CHECK(comes("getcentraldetectorstate_ext", reader, "xCentralDetectorState", 0));
  logEntry(handle, 0, 2, 0, "LevelHigh");
  CHECK(comes("isalarminalarmlist_ext", reader, "xAlarmInAlarmlist", 0));
  CHECK(comes("loadcompletealarmlist_ext", reader, "iResult", service ? 0 : 2) && copy(kAlarms, reader) == 0);
  CHECK(get(CALL("closealarmlistwritehandle_ext", "hWriteHandle", handle), "hWriteHandle") == 0);
  CALL("closealarmlistreadhandle_ext", "hReadHandle", reader);
}

int main(int count, char** arguments) {
  service = count == 3 && strcmp(arguments[2], "service") == 0;
  void* library = count >= 2 ? dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  if (library == NULL) return fprintf(stderr, "%s\n", dlerror()), 2;
  enter(library);
  eventRoad();
  alarmRoad();
  for (size_t i = 0; i < FUNCTIONS; ++i)
    if (!CHECK(called[i])) fprintf(stderr, "%s\n", kFunctions[i].name);
  return failures == 0 ? 0 : 1;
}
