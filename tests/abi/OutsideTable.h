/** @file
 * The binary interface as an IEC compiler sees it: names, offsets and widths, written by hand and known from
 * no header of the library. Memory is raw bytes, an address is a 32-bit word. For one source only.
 */
#ifndef OUTSIDE_TABLE_H
#define OUTSIDE_TABLE_H

#include <stdarg.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

_Static_assert(sizeof(void*) == 4, "the interface is that of a machine with 32-bit pointers");

/** A function with its parameter structure, or a structure by itself. `fields` lists "name offset width"; a
 * '>' marks what the library writes. */
typedef struct {
  const char* name;
  uint32_t signature, size;
  const char* fields;
} Layout;

typedef struct {
  uint32_t offset, width;
  bool output;
} Field;

enum { FUNCTIONS = 38, UNTOUCHED = 0xA5 };

// clang-format off
#define READER "hReadHandle 0 4"
#define FLAG(name) READER ", >" name " 4 1"
#define REQUEST READER ", pastEntries 4 4, diMaxEntries 8 4, >iResult 12 2, >diNumberOfEntries 16 4"

/* In the order in which they are registered. */
static const Layout kFunctions[FUNCTIONS] = {
    {"setlistreadlanguage_ext", 0xAB54A789, 8, READER ", psLanguage 4 4"},
    {"setfiltertime_ext", 0x2352B977, 12, READER ", dtLatest 4 4, dtEarliest 8 4"},
    {"setfilterstatealarm_ext", 0xEB1397DE, 8, READER ", xActive 4 1"},
    {"setfilterstateacknowledge_ext", 0x74A37A48, 8, READER ", xAcknowledged 4 1"},
    {"resetlistchanged_ext", 0x32100C8F, 4, READER},
    {"resetfiltertime_ext", 0xB091329B, 4, READER},
    {"resetfilterstatealarm_ext", 0x562EB3C9, 4, READER},
    {"resetfilterstateacknowledge_ext", 0x5B0765B3, 4, READER},
    {"resetfilterkeyword_ext", 0xAABBF6C4, 8, READER ", iFilterType 4 2"},
    {"resetfiltereventtype_ext", 0xD201032F, 4, READER},
    {"resetfilterall_ext", 0xDC7A3119, 4, READER},
    {"openeventlistreadhandle_ext", 0x26F95B81, 8, ">xSuccess 0 1, >hReadHandle 4 4"},
    {"openalarmlistwritehandle_ext", 0x3084F072, 8, ">hWriteHandle 4 4"},
    {"openalarmlistreadhandle_ext", 0x1327A2BE, 8, ">xSuccess 0 1, >hReadHandle 4 4"},
    {"logevent_ext", 0x743B0B65, 64,
     "iEventType 0 2, iState 2 2, psIconType 4 4, psModuleName 8 4, dtDateTime 12 4, pstData 16 4, pwsUser 20 4, "
     "iKeywordSize 24 2, pasKeywords 28 4, pastArguments 32 4, pastUrlArguments 36 4, keywords.lower 40 4, "
     "keywords.upper 44 4, arguments.lower 48 4, arguments.upper 52 4, urls.lower 56 4, urls.upper 60 4"},
    {"logalarm_ext", 0xB0BA2B6A, 68,
     "hWriteHandle 0 4, iEventType 4 2, iState 6 2, psIconType 8 4, psModuleName 12 4, dtDateTime 16 4, pstData 20 4, "
     "pwsUser 24 4, iKeywordSize 28 2, pasKeywords 32 4, pastArguments 36 4, pastUrlArguments 40 4, "
     "keywords.lower 44 4, keywords.upper 48 4, arguments.lower 52 4, arguments.upper 56 4, urls.lower 60 4, "
     "urls.upper 64 4"},
    {"loadpartofeventlist_ext", 0x9076E8A7, 8, READER ", uiNumberOfEntries 4 2, >iResult 6 2"},
    {"loadcompleteeventlist_ext", 0x49B79DC4, 8, READER ", >iResult 4 2"},
    {"loadcompletealarmlist_ext", 0xCFFFD116, 8, READER ", >iResult 4 2"},
    {"isfaultinalarmlist_ext", 0xB4966626, 8, FLAG("xFaultInAlarmlist")},
    {"isalarminalarmlist_ext", 0x380FD3DD, 8, FLAG("xAlarmInAlarmlist")},
    {"isactivefaultinalarmlist_ext", 0xDEE717A7, 8, FLAG("xActiveFaultInAlarmlist")},
    {"isactivealarminalarmlist_ext", 0x4E4CF9F8, 8, FLAG("xActiveAlarmInAlarmlist")},
    {"haslistchanged_ext", 0x633D35A0, 8, FLAG("xListChanged")},
    {"geteventlistentries_ext", 0x2BA2337B, 4, "pstRequest 0 4"},
    {"getcentraldetectorstate_ext", 0x2EE9CD3D, 8, FLAG("xCentralDetectorState")},
    {"getalarmstatefromalarmhandler_ext", 0x32EB95DC, 16,
     "hWriteHandle 0 4, pxActive 4 4, pxAcknowledged 8 4, >iResult 12 2"},
    {"getalarmlistentries_ext", 0x3C41A5B0, 4, "pstRequest 0 4"},
    {"deleteeventlist_ext", 0x8A54FFA2, 0, ""},
    {"closeeventlistreadhandle_ext", 0x65F61DEC, 4, READER},
    {"closealarmlistwritehandle_ext", 0x5DED95A9, 4, ">hWriteHandle 0 4"},
    {"closealarmlistreadhandle_ext", 0x168028A3, 4, READER},
    {"clearfilterkeyword_ext", 0x6EE418BE, 12, READER ", iFilterType 4 2, psKeyword 8 4"},
    {"clearfiltereventtype_ext", 0xD83F95CD, 8, READER ", iEventType 4 2"},
    {"addfilterkeyword_ext", 0xE33700E5, 12, READER ", iFilterType 4 2, psKeyword 8 4"},
    {"addfiltereventtype_ext", 0x742C6396, 8, READER ", iEventType 4 2"},
    {"acknowledgevisualalarm_ext", 0x48616970, 20,
     "iAlarmIdSize 0 2, pwsUser 4 4, pasAlarmIds 8 4, alarmIds.lower 12 4, alarmIds.upper 16 4"},
    {"acknowledgecentraldetector_ext", 0x8B99E12E, 4, "pwsUser 0 4"},
};

static const Layout kStructures[] = {
    {"stGetEventlistEntriesType", 0, 20, REQUEST},
    {"stGetAlarmlistEntriesType", 0, 20, REQUEST},
    {"stEventlistEntryType", 0, 856,
     ">uliEventlistId 0 8, >iEventType 8 2, >sIconType 10 81, >dtTimestamp 92 4, >sModuleName 96 81, "
     ">wsDescription 178 512, >wsUser 690 162"},
    {"stAlarmlistEntryType", 0, 768,
     ">xAlarmAcknowledgment 0 1, >xAlarmActive 1 1, >sAlarmID 2 81, >iEventType 84 2, >sIconType 86 81, "
     ">dtTimestamp 168 4, >sModuleName 172 81, >wsDescription 254 512"},
    {"stDataType", 0, 678,
     "iTextSource 0 2, sModuleName 2 81, sObjectName 83 81, sInstanceName 164 256, iInstanceNumber 420 2, sUrl 422 256"},
    {"stDescriptionArgumentType", 0, 324, "wsPlaceholder 0 162, wsArgument 162 162"},
    {"stDescriptionUrlArgumentType", 0, 840,
     "wsPlaceholder 0 162, iTextSource 162 2, sModuleName 164 81, sObjectName 245 81, sInstanceName 326 256, "
     "iInstanceNumber 582 2, sUrl 584 256"},
};
// clang-format on

/** The next field of a list, and where the list goes on; null at its end. */
static const char* nextField(const char* list, char name[32], Field* field) {
  int length = 0;
  const size_t skipped = strspn(list, ", >");
  field->output = skipped > 0 && list[skipped - 1] == '>';
  list += skipped;
  return sscanf(list, "%31s %u %u%n", name, &field->offset, &field->width, &length) == 3 ? list + length
                                                                                         : NULL;
}

/** An unknown name ends the program. */
static const Layout* layoutOf(const char* name) {
  for (size_t i = 0; i < FUNCTIONS; ++i)
    if (strcmp(kFunctions[i].name, name) == 0) return &kFunctions[i];
  for (size_t i = 0; i < sizeof kStructures / sizeof *kStructures; ++i)
    if (strcmp(kStructures[i].name, name) == 0) return &kStructures[i];
  fprintf(stderr, "no layout %s\n", name);
  exit(2);
}

static Field fieldOf(const Layout* layout, const char* name) {
  Field field;
  char found[32];
  for (const char* list = layout->fields; (list = nextField(list, found, &field)) != NULL;)
    if (strcmp(found, name) == 0) return field;
  fprintf(stderr, "no field %s in %s\n", name, layout->name);
  exit(2);
}

/** Whether the byte belongs to a field that the library writes. */
static bool written(const Layout* layout, uint32_t offset) {
  Field field;
  char name[32];
  for (const char* list = layout->fields; (list = nextField(list, name, &field)) != NULL;)
    if (offset - field.offset < field.width && field.output) return true;
  return false;
}

static uint64_t number(const void* base, const Layout* layout, const char* field) {
  const Field source = fieldOf(layout, field);
  uint64_t value = 0;
  memcpy(&value, (const unsigned char*)base + source.offset, source.width);
  return value;
}

/** The word that stands for an address. */
static uint32_t word(const void* address) {
  return (uint32_t)(uintptr_t)address;
}

/** Raw memory of one structure, with bytes behind it that nobody may touch. */
typedef struct {
  const Layout* layout;
  _Alignas(8) unsigned char bytes[840 + 8];
} Memory;

/** Fill fields given as pairs of name and value; the value for a field of text is the address of one. */
static Memory filled(const char* name, ...) {
  Memory m;
  m.layout = layoutOf(name);
  memset(m.bytes, UNTOUCHED, sizeof m.bytes);
  va_list pairs;
  va_start(pairs, name);
  for (const char* field; (field = va_arg(pairs, const char*)) != NULL;) {
    const Field target = fieldOf(m.layout, field);
    const uint32_t value = va_arg(pairs, uint32_t);
    const unsigned char* text = (const unsigned char*)(uintptr_t)value;
    const bool isText = target.width > 4;
    const size_t terminator = isText ? (field[0] == 'w' ? 2 : 1) : 0;
    size_t size = isText ? 0 : target.width;
    while (isText && (text[size] != 0 || text[size + terminator - 1] != 0))
      size += terminator;
    memcpy(m.bytes + target.offset, isText ? text : (const void*)&value, size + terminator);
  }
  va_end(pairs);
  return m;
}

#define FILLED(...) filled(__VA_ARGS__, NULL)

static uint32_t get(Memory m, const char* field) {
  return (uint32_t)number(m.bytes, m.layout, field);
}

#endif
