/** @file
 * The binary interface as an IEC compiler sees it: names, offsets and widths, written by hand and taken from
 * no header of the library. An address is a 32-bit word. Fields that nobody reads or writes have no row.
 */
#ifndef OUTSIDE_TABLE_H
#define OUTSIDE_TABLE_H

#include <stdbool.h>
#include <stdint.h>

_Static_assert(sizeof(void*) == 4, "the interface is that of a machine with 32-bit pointers");

typedef struct {
  const char* name;
  uint32_t offset;
  uint32_t width;
  bool output;
} Field;

/** A function with its parameter structure, or a request by itself; a field without a name ends it. */
typedef struct {
  const char* name;
  uint32_t signature;
  uint32_t size;
  Field fields[19];
} Layout;

// clang-format off
#define IN(name, offset, width) {name, offset, width, false}
#define OUT(name, offset, width) {name, offset, width, true}
#define READER IN("hReadHandle", 0, 4)
#define FLAG(name) READER, OUT(name, 4, 1)
#define BOUNDS(name, lower, upper) IN(name ".lower", lower, 4), IN(name ".upper", upper, 4)
#define REQUEST \
  READER, IN("pastEntries", 4, 4), IN("diMaxEntries", 8, 4), OUT("iResult", 12, 2), OUT("diNumberOfEntries", 16, 4)

/* The functions in the order in which they are registered, then the requests, which have no signature. */
static const Layout kLayouts[] = {
    {"setlistreadlanguage_ext", 0xAB54A789, 8, {READER, IN("psLanguage", 4, 4)}},
    {"setfiltertime_ext", 0x2352B977, 12, {READER, IN("dtLatest", 4, 4), IN("dtEarliest", 8, 4)}},
    {"setfilterstatealarm_ext", 0xEB1397DE, 8, {READER, IN("xActive", 4, 1)}},
    {"setfilterstateacknowledge_ext", 0x74A37A48, 8, {READER, IN("xAcknowledged", 4, 1)}},
    {"resetlistchanged_ext", 0x32100C8F, 4, {READER}},
    {"resetfiltertime_ext", 0xB091329B, 4, {READER}},
    {"resetfilterstatealarm_ext", 0x562EB3C9, 4, {READER}},
    {"resetfilterstateacknowledge_ext", 0x5B0765B3, 4, {READER}},
    {"resetfilterkeyword_ext", 0xAABBF6C4, 8, {READER, IN("iFilterType", 4, 2)}},
    {"resetfiltereventtype_ext", 0xD201032F, 4, {READER}},
    {"resetfilterall_ext", 0xDC7A3119, 4, {READER}},
    {"openeventlistreadhandle_ext", 0x26F95B81, 8, {OUT("xSuccess", 0, 1), OUT("hReadHandle", 4, 4)}},
    {"openalarmlistwritehandle_ext", 0x3084F072, 8, {OUT("hWriteHandle", 4, 4)}},
    {"openalarmlistreadhandle_ext", 0x1327A2BE, 8, {OUT("xSuccess", 0, 1), OUT("hReadHandle", 4, 4)}},
    {"logevent_ext", 0x743B0B65, 64, {IN("iEventType", 0, 2), IN("iState", 2, 2), IN("psIconType", 4, 4),
      IN("psModuleName", 8, 4), IN("dtDateTime", 12, 4), IN("pstData", 16, 4), IN("pwsUser", 20, 4),
      IN("iKeywordSize", 24, 2), IN("pasKeywords", 28, 4), IN("pastArguments", 32, 4), IN("pastUrlArguments", 36, 4),
      BOUNDS("stKeywordsDimInfo", 40, 44), BOUNDS("stArgumentsDimInfo", 48, 52), BOUNDS("stUrlArgumentsDimInfo", 56, 60)}},
    {"logalarm_ext", 0xB0BA2B6A, 68, {IN("hWriteHandle", 0, 4), IN("iEventType", 4, 2), IN("iState", 6, 2),
      IN("psIconType", 8, 4), IN("psModuleName", 12, 4), IN("dtDateTime", 16, 4), IN("pstData", 20, 4),
      IN("pwsUser", 24, 4), IN("iKeywordSize", 28, 2), IN("pasKeywords", 32, 4), IN("pastArguments", 36, 4),
      IN("pastUrlArguments", 40, 4), BOUNDS("stKeywordsDimInfo", 44, 48),
      BOUNDS("stArgumentsDimInfo", 52, 56), BOUNDS("stUrlArgumentsDimInfo", 60, 64)}},
    {"loadpartofeventlist_ext", 0x9076E8A7, 8, {READER, IN("uiNumberOfEntries", 4, 2), OUT("iResult", 6, 2)}},
    {"loadcompleteeventlist_ext", 0x49B79DC4, 8, {READER, OUT("iResult", 4, 2)}},
    {"loadcompletealarmlist_ext", 0xCFFFD116, 8, {READER, OUT("iResult", 4, 2)}},
    {"isfaultinalarmlist_ext", 0xB4966626, 8, {FLAG("xFaultInAlarmlist")}},
    {"isalarminalarmlist_ext", 0x380FD3DD, 8, {FLAG("xAlarmInAlarmlist")}},
    {"isactivefaultinalarmlist_ext", 0xDEE717A7, 8, {FLAG("xActiveFaultInAlarmlist")}},
    {"isactivealarminalarmlist_ext", 0x4E4CF9F8, 8, {FLAG("xActiveAlarmInAlarmlist")}},
    {"haslistchanged_ext", 0x633D35A0, 8, {FLAG("xListChanged")}},
    {"geteventlistentries_ext", 0x2BA2337B, 4, {IN("pstRequest", 0, 4)}},
    {"getcentraldetectorstate_ext", 0x2EE9CD3D, 8, {FLAG("xCentralDetectorState")}},
    {"getalarmstatefromalarmhandler_ext", 0x32EB95DC, 16, {IN("hWriteHandle", 0, 4), IN("pxActive", 4, 4),
      IN("pxAcknowledged", 8, 4), OUT("iResult", 12, 2)}},
    {"getalarmlistentries_ext", 0x3C41A5B0, 4, {IN("pstRequest", 0, 4)}},
    {"deleteeventlist_ext", 0x8A54FFA2, 4, {{0}}},
    {"closeeventlistreadhandle_ext", 0x65F61DEC, 4, {READER}},
    {"closealarmlistwritehandle_ext", 0x5DED95A9, 4, {IN("hWriteHandle", 0, 4), OUT("hWriteHandle", 0, 4)}},
    {"closealarmlistreadhandle_ext", 0x168028A3, 4, {READER}},
    {"clearfilterkeyword_ext", 0x6EE418BE, 12, {READER, IN("iFilterType", 4, 2), IN("psKeyword", 8, 4)}},
    {"clearfiltereventtype_ext", 0xD83F95CD, 8, {READER, IN("iEventType", 4, 2)}},
    {"addfilterkeyword_ext", 0xE33700E5, 12, {READER, IN("iFilterType", 4, 2), IN("psKeyword", 8, 4)}},
    {"addfiltereventtype_ext", 0x742C6396, 8, {READER, IN("iEventType", 4, 2)}},
    {"acknowledgevisualalarm_ext", 0x48616970, 20, {IN("iAlarmIdSize", 0, 2), IN("pwsUser", 4, 4),
      IN("pasAlarmIds", 8, 4), BOUNDS("stAlarmIdsDimInfo", 12, 16)}},
    {"acknowledgecentraldetector_ext", 0x8B99E12E, 4, {IN("pwsUser", 0, 4)}},
    {"stGetEventlistEntriesType", 0, 20, {REQUEST}},
    {"stGetAlarmlistEntriesType", 0, 20, {REQUEST}},
    {NULL, 0, 0, {{0}}},
};
// clang-format on

#endif
