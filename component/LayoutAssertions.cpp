// Proof of the binary interface: the figures are copied by hand from the interface's tables. Structures
// without pointers have one layout everywhere; the layout of those with pointers is fixed where a pointer has
// 4 bytes.

#include <type_traits>
#include <utility>

#include "tavroline/tavroline.h"

// Types and members take no parentheses.
// NOLINTBEGIN(bugprone-macro-parentheses)
#define SIZE(type, size, alignment)                                 \
  static_assert(sizeof(type) == (size), #type ": size");            \
  static_assert(alignof(type) == (alignment), #type ": alignment"); \
  static_assert(std::is_standard_layout<type>::value, #type ": not a C structure")
#define FIELD(type, field, offset, width)                                        \
  static_assert(offsetof(type, field) == (offset), #type "." #field ": offset"); \
  static_assert(sizeof(std::declval<type&>().field) == (width), #type "." #field ": width")
// NOLINTEND(bugprone-macro-parentheses)

static_assert(std::is_integral<RTS_IEC_BOOL>::value && sizeof(RTS_IEC_BOOL) == 1, "BOOL is one byte");

SIZE(__ARRAY__DIM__INFO, 8, 4);
FIELD(__ARRAY__DIM__INFO, lower, 0, 4);
FIELD(__ARRAY__DIM__INFO, upper, 4, 4);

SIZE(stDescriptionArgumentType, 324, 2);
FIELD(stDescriptionArgumentType, wsPlaceholder, 0, 162);
FIELD(stDescriptionArgumentType, wsArgument, 162, 162);

SIZE(stDataType, 678, 2);
FIELD(stDataType, iTextSource, 0, 2);
FIELD(stDataType, sModuleName, 2, 81);
FIELD(stDataType, sObjectName, 83, 81);
FIELD(stDataType, sInstanceName, 164, 256);
FIELD(stDataType, iInstanceNumber, 420, 2);
FIELD(stDataType, sUrl, 422, 256);

SIZE(stDescriptionUrlArgumentType, 840, 2);
FIELD(stDescriptionUrlArgumentType, wsPlaceholder, 0, 162);
FIELD(stDescriptionUrlArgumentType, stData, 162, 678);

SIZE(stEventlistEntryType, 856, 8);
FIELD(stEventlistEntryType, uliEventlistId, 0, 8);
FIELD(stEventlistEntryType, iEventType, 8, 2);
FIELD(stEventlistEntryType, sIconType, 10, 81);
FIELD(stEventlistEntryType, dtTimestamp, 92, 4);
FIELD(stEventlistEntryType, sModuleName, 96, 81);
FIELD(stEventlistEntryType, wsDescription, 178, 512);
FIELD(stEventlistEntryType, wsUser, 690, 162);

SIZE(stAlarmlistEntryType, 768, 4);
FIELD(stAlarmlistEntryType, xAlarmAcknowledgment, 0, 1);
FIELD(stAlarmlistEntryType, xAlarmActive, 1, 1);
FIELD(stAlarmlistEntryType, sAlarmID, 2, 81);
FIELD(stAlarmlistEntryType, iEventType, 84, 2);
FIELD(stAlarmlistEntryType, sIconType, 86, 81);
FIELD(stAlarmlistEntryType, dtTimestamp, 168, 4);
FIELD(stAlarmlistEntryType, sModuleName, 172, 81);
FIELD(stAlarmlistEntryType, wsDescription, 254, 512);

#if __SIZEOF_POINTER__ == 4

SIZE(ComponentInitRecord, 56, 4);
FIELD(ComponentInitRecord, ulComponentId, 0, 4);
FIELD(ComponentInitRecord, pfExportFunctions, 4, 4);
FIELD(ComponentInitRecord, pfImportFunctions, 8, 4);
FIELD(ComponentInitRecord, pfGetVersion, 12, 4);
FIELD(ComponentInitRecord, pfUnused4, 16, 4);
FIELD(ComponentInitRecord, pfUnused5, 20, 4);
FIELD(ComponentInitRecord, pfHookFunction, 24, 4);
FIELD(ComponentInitRecord, pfRegisterApi, 28, 4);
FIELD(ComponentInitRecord, pfServices, 32, 20);
FIELD(ComponentInitRecord, pfGetApi, 52, 4);

SIZE(ExternalFunctionEntry, 16, 4);
FIELD(ExternalFunctionEntry, pfFunction, 0, 4);
FIELD(ExternalFunctionEntry, pszName, 4, 4);
FIELD(ExternalFunctionEntry, ulSignatureId, 8, 4);
FIELD(ExternalFunctionEntry, ulVersion, 12, 4);

SIZE(openeventlistreadhandle_struct, 8, 4);
FIELD(openeventlistreadhandle_struct, xSuccess, 0, 1);
FIELD(openeventlistreadhandle_struct, hReadHandle, 4, 4);
SIZE(openalarmlistreadhandle_struct, 8, 4);
FIELD(openalarmlistreadhandle_struct, xSuccess, 0, 1);
FIELD(openalarmlistreadhandle_struct, hReadHandle, 4, 4);
SIZE(openalarmlistwritehandle_struct, 8, 4);
FIELD(openalarmlistwritehandle_struct, diReserved, 0, 4);
FIELD(openalarmlistwritehandle_struct, hWriteHandle, 4, 4);
SIZE(closeeventlistreadhandle_struct, 4, 4);
FIELD(closeeventlistreadhandle_struct, hReadHandle, 0, 4);
SIZE(closealarmlistreadhandle_struct, 4, 4);
FIELD(closealarmlistreadhandle_struct, hReadHandle, 0, 4);
SIZE(closealarmlistwritehandle_struct, 4, 4);
FIELD(closealarmlistwritehandle_struct, hWriteHandle, 0, 4);

SIZE(setlistreadlanguage_struct, 8, 4);
FIELD(setlistreadlanguage_struct, hReadHandle, 0, 4);
FIELD(setlistreadlanguage_struct, psLanguage, 4, 4);
SIZE(haslistchanged_struct, 8, 4);
FIELD(haslistchanged_struct, hReadHandle, 0, 4);
FIELD(haslistchanged_struct, xListChanged, 4, 1);
SIZE(resetlistchanged_struct, 4, 4);
FIELD(resetlistchanged_struct, hReadHandle, 0, 4);
SIZE(addfiltereventtype_struct, 8, 4);
FIELD(addfiltereventtype_struct, hReadHandle, 0, 4);
FIELD(addfiltereventtype_struct, iEventType, 4, 2);
SIZE(clearfiltereventtype_struct, 8, 4);
FIELD(clearfiltereventtype_struct, hReadHandle, 0, 4);
FIELD(clearfiltereventtype_struct, iEventType, 4, 2);
SIZE(resetfiltereventtype_struct, 4, 4);
FIELD(resetfiltereventtype_struct, hReadHandle, 0, 4);
SIZE(addfilterkeyword_struct, 12, 4);
FIELD(addfilterkeyword_struct, hReadHandle, 0, 4);
FIELD(addfilterkeyword_struct, iFilterType, 4, 2);
FIELD(addfilterkeyword_struct, psKeyword, 8, 4);
SIZE(clearfilterkeyword_struct, 12, 4);
FIELD(clearfilterkeyword_struct, hReadHandle, 0, 4);
FIELD(clearfilterkeyword_struct, iFilterType, 4, 2);
FIELD(clearfilterkeyword_struct, psKeyword, 8, 4);
SIZE(resetfilterkeyword_struct, 8, 4);
FIELD(resetfilterkeyword_struct, hReadHandle, 0, 4);
FIELD(resetfilterkeyword_struct, iFilterType, 4, 2);
SIZE(setfiltertime_struct, 12, 4);
FIELD(setfiltertime_struct, hReadHandle, 0, 4);
FIELD(setfiltertime_struct, dtLatest, 4, 4);
FIELD(setfiltertime_struct, dtEarliest, 8, 4);
SIZE(resetfiltertime_struct, 4, 4);
FIELD(resetfiltertime_struct, hReadHandle, 0, 4);
SIZE(resetfilterall_struct, 4, 4);
FIELD(resetfilterall_struct, hReadHandle, 0, 4);

SIZE(loadcompleteeventlist_struct, 8, 4);
FIELD(loadcompleteeventlist_struct, hReadHandle, 0, 4);
FIELD(loadcompleteeventlist_struct, iResult, 4, 2);
SIZE(loadpartofeventlist_struct, 8, 4);
FIELD(loadpartofeventlist_struct, hReadHandle, 0, 4);
FIELD(loadpartofeventlist_struct, uiNumberOfEntries, 4, 2);
FIELD(loadpartofeventlist_struct, iResult, 6, 2);
SIZE(geteventlistentries_struct, 4, 4);
FIELD(geteventlistentries_struct, pstRequest, 0, 4);
SIZE(stGetEventlistEntriesType, 20, 4);
FIELD(stGetEventlistEntriesType, hReadHandle, 0, 4);
FIELD(stGetEventlistEntriesType, pastEntries, 4, 4);
FIELD(stGetEventlistEntriesType, diMaxEntries, 8, 4);
FIELD(stGetEventlistEntriesType, iResult, 12, 2);
FIELD(stGetEventlistEntriesType, diNumberOfEntries, 16, 4);

SIZE(logevent_struct, 64, 4);
FIELD(logevent_struct, iEventType, 0, 2);
FIELD(logevent_struct, iState, 2, 2);
FIELD(logevent_struct, psIconType, 4, 4);
FIELD(logevent_struct, psModuleName, 8, 4);
FIELD(logevent_struct, dtDateTime, 12, 4);
FIELD(logevent_struct, pstData, 16, 4);
FIELD(logevent_struct, pwsUser, 20, 4);
FIELD(logevent_struct, iKeywordSize, 24, 2);
FIELD(logevent_struct, pasKeywords, 28, 4);
FIELD(logevent_struct, pastArguments, 32, 4);
FIELD(logevent_struct, pastUrlArguments, 36, 4);
FIELD(logevent_struct, stKeywordsDimInfo, 40, 8);
FIELD(logevent_struct, stArgumentsDimInfo, 48, 8);
FIELD(logevent_struct, stUrlArgumentsDimInfo, 56, 8);

SIZE(deleteeventlist_struct, 4, 4);
FIELD(deleteeventlist_struct, diReserved, 0, 4);

SIZE(loadcompletealarmlist_struct, 8, 4);
FIELD(loadcompletealarmlist_struct, hReadHandle, 0, 4);
FIELD(loadcompletealarmlist_struct, iResult, 4, 2);
SIZE(getalarmlistentries_struct, 4, 4);
FIELD(getalarmlistentries_struct, pstRequest, 0, 4);
SIZE(stGetAlarmlistEntriesType, 20, 4);
FIELD(stGetAlarmlistEntriesType, hReadHandle, 0, 4);
FIELD(stGetAlarmlistEntriesType, pastEntries, 4, 4);
FIELD(stGetAlarmlistEntriesType, diMaxEntries, 8, 4);
FIELD(stGetAlarmlistEntriesType, iResult, 12, 2);
FIELD(stGetAlarmlistEntriesType, diNumberOfEntries, 16, 4);
SIZE(getcentraldetectorstate_struct, 8, 4);
FIELD(getcentraldetectorstate_struct, hReadHandle, 0, 4);
FIELD(getcentraldetectorstate_struct, xCentralDetectorState, 4, 1);
SIZE(isalarminalarmlist_struct, 8, 4);
FIELD(isalarminalarmlist_struct, hReadHandle, 0, 4);
FIELD(isalarminalarmlist_struct, xAlarmInAlarmlist, 4, 1);
SIZE(isactivealarminalarmlist_struct, 8, 4);
FIELD(isactivealarminalarmlist_struct, hReadHandle, 0, 4);
FIELD(isactivealarminalarmlist_struct, xActiveAlarmInAlarmlist, 4, 1);
SIZE(isfaultinalarmlist_struct, 8, 4);
FIELD(isfaultinalarmlist_struct, hReadHandle, 0, 4);
FIELD(isfaultinalarmlist_struct, xFaultInAlarmlist, 4, 1);
SIZE(isactivefaultinalarmlist_struct, 8, 4);
FIELD(isactivefaultinalarmlist_struct, hReadHandle, 0, 4);
FIELD(isactivefaultinalarmlist_struct, xActiveFaultInAlarmlist, 4, 1);
SIZE(setfilterstatealarm_struct, 8, 4);
FIELD(setfilterstatealarm_struct, hReadHandle, 0, 4);
FIELD(setfilterstatealarm_struct, xActive, 4, 1);
SIZE(setfilterstateacknowledge_struct, 8, 4);
FIELD(setfilterstateacknowledge_struct, hReadHandle, 0, 4);
FIELD(setfilterstateacknowledge_struct, xAcknowledged, 4, 1);
SIZE(resetfilterstatealarm_struct, 4, 4);
FIELD(resetfilterstatealarm_struct, hReadHandle, 0, 4);
SIZE(resetfilterstateacknowledge_struct, 4, 4);
FIELD(resetfilterstateacknowledge_struct, hReadHandle, 0, 4);

SIZE(logalarm_struct, 68, 4);
FIELD(logalarm_struct, hWriteHandle, 0, 4);
FIELD(logalarm_struct, iEventType, 4, 2);
FIELD(logalarm_struct, iState, 6, 2);
FIELD(logalarm_struct, psIconType, 8, 4);
FIELD(logalarm_struct, psModuleName, 12, 4);
FIELD(logalarm_struct, dtDateTime, 16, 4);
FIELD(logalarm_struct, pstData, 20, 4);
FIELD(logalarm_struct, pwsUser, 24, 4);
FIELD(logalarm_struct, iKeywordSize, 28, 2);
FIELD(logalarm_struct, pasKeywords, 32, 4);
FIELD(logalarm_struct, pastArguments, 36, 4);
FIELD(logalarm_struct, pastUrlArguments, 40, 4);
FIELD(logalarm_struct, stKeywordsDimInfo, 44, 8);
FIELD(logalarm_struct, stArgumentsDimInfo, 52, 8);
FIELD(logalarm_struct, stUrlArgumentsDimInfo, 60, 8);
SIZE(getalarmstatefromalarmhandler_struct, 16, 4);
FIELD(getalarmstatefromalarmhandler_struct, hWriteHandle, 0, 4);
FIELD(getalarmstatefromalarmhandler_struct, pxActive, 4, 4);
FIELD(getalarmstatefromalarmhandler_struct, pxAcknowledged, 8, 4);
FIELD(getalarmstatefromalarmhandler_struct, iResult, 12, 2);
SIZE(acknowledgevisualalarm_struct, 20, 4);
FIELD(acknowledgevisualalarm_struct, iAlarmIdSize, 0, 2);
FIELD(acknowledgevisualalarm_struct, pwsUser, 4, 4);
FIELD(acknowledgevisualalarm_struct, pasAlarmIds, 8, 4);
FIELD(acknowledgevisualalarm_struct, stAlarmIdsDimInfo, 12, 8);
SIZE(acknowledgecentraldetector_struct, 4, 4);
FIELD(acknowledgecentraldetector_struct, pwsUser, 0, 4);

#endif
