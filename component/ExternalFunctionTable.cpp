#include "ExternalFunctionTable.h"

#include "tavroline/tavroline.h"

// clang-format off
#define ROW(name, signatureId) {reinterpret_cast<ExternalFunction>(name), #name, signatureId, TAVROLINE_FUNCTION_VERSION}
#define END_ROW {nullptr, "", 0, 0}

const ExternalFunctionEntry ExternalFunctionTable[] = {
    ROW(setlistreadlanguage_ext, 0xAB54A789u),
    ROW(setfiltertime_ext, 0x2352B977u),
    ROW(setfilterstatealarm_ext, 0xEB1397DEu),
    ROW(setfilterstateacknowledge_ext, 0x74A37A48u),
    ROW(resetlistchanged_ext, 0x32100C8Fu),
    ROW(resetfiltertime_ext, 0xB091329Bu),
    ROW(resetfilterstatealarm_ext, 0x562EB3C9u),
    ROW(resetfilterstateacknowledge_ext, 0x5B0765B3u),
    ROW(resetfilterkeyword_ext, 0xAABBF6C4u),
    ROW(resetfiltereventtype_ext, 0xD201032Fu),
    ROW(resetfilterall_ext, 0xDC7A3119u),
    ROW(openeventlistreadhandle_ext, 0x26F95B81u),
    ROW(openalarmlistwritehandle_ext, 0x3084F072u),
    ROW(openalarmlistreadhandle_ext, 0x1327A2BEu),
    ROW(logevent_ext, 0x743B0B65u),
    ROW(logalarm_ext, 0xB0BA2B6Au),
    ROW(loadpartofeventlist_ext, 0x9076E8A7u),
    ROW(loadcompleteeventlist_ext, 0x49B79DC4u),
    ROW(loadcompletealarmlist_ext, 0xCFFFD116u),
    ROW(isfaultinalarmlist_ext, 0xB4966626u),
    ROW(isalarminalarmlist_ext, 0x380FD3DDu),
    ROW(isactivefaultinalarmlist_ext, 0xDEE717A7u),
    ROW(isactivealarminalarmlist_ext, 0x4E4CF9F8u),
    ROW(haslistchanged_ext, 0x633D35A0u),
    ROW(geteventlistentries_ext, 0x2BA2337Bu),
    ROW(getcentraldetectorstate_ext, 0x2EE9CD3Du),
    ROW(getalarmstatefromalarmhandler_ext, 0x32EB95DCu),
    ROW(getalarmlistentries_ext, 0x3C41A5B0u),
    ROW(deleteeventlist_ext, 0x8A54FFA2u),
    ROW(closeeventlistreadhandle_ext, 0x65F61DECu),
    ROW(closealarmlistwritehandle_ext, 0x5DED95A9u),
    ROW(closealarmlistreadhandle_ext, 0x168028A3u),
    ROW(clearfilterkeyword_ext, 0x6EE418BEu),
    ROW(clearfiltereventtype_ext, 0xD83F95CDu),
    ROW(addfilterkeyword_ext, 0xE33700E5u),
    ROW(addfiltereventtype_ext, 0x742C6396u),
    ROW(acknowledgevisualalarm_ext, 0x48616970u),
    ROW(acknowledgecentraldetector_ext, 0x8B99E12Eu),
    END_ROW,
};
// clang-format on

const ExternalFunctionEntry EmptyFunctionTable[1] = {END_ROW};
