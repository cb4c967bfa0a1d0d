#include "ExternalFunction.h"
#include "TavrolineAlarmlistRead.h"
#include "tavroline/alarmlist.h"

namespace Tavroline {
namespace {

using Reader = TavrolineAlarmlistRead;
constexpr char kFile[] = "AlarmlistFunctions";

RTS_IEC_BOOL iecBool(bool value) {
  return value ? 1 : 0;
}

}  // namespace
}  // namespace Tavroline

using namespace Tavroline;

void loadcompletealarmlist_ext(loadcompletealarmlist_struct* parameters) {
  onReaderWithResult<Reader>(ORIGIN(loadcompletealarmlist), parameters, &Reader::loadCompleteAlarmlist);
}

void getalarmlistentries_ext(getalarmlistentries_struct* parameters) {
  if (!TavrolineConvenienceFunctions::checkStructPointer(parameters)) {
    return;
  }
  stGetAlarmlistEntriesType* const request = parameters->pstRequest;
  onReaderWithResult<Reader>(ORIGIN(getalarmlistentries), request, [&](const Reader& reader) {
    return reader.convertAlarmlist(request->diNumberOfEntries, request->pastEntries, request->diMaxEntries);
  });
}

void getcentraldetectorstate_ext(getcentraldetectorstate_struct* parameters) {
  onReader<Reader>(ORIGIN(getcentraldetectorstate), parameters, [&](Reader& reader) {
    parameters->xCentralDetectorState = iecBool(reader.getCentralDetectorState());
  });
}

void isalarminalarmlist_ext(isalarminalarmlist_struct* parameters) {
  onReader<Reader>(ORIGIN(isalarminalarmlist), parameters, [&](Reader& reader) {
    parameters->xAlarmInAlarmlist = iecBool(reader.isAlarmInAlarmlist());
  });
}

void isactivealarminalarmlist_ext(isactivealarminalarmlist_struct* parameters) {
  onReader<Reader>(ORIGIN(isactivealarminalarmlist), parameters, [&](Reader& reader) {
    parameters->xActiveAlarmInAlarmlist = iecBool(reader.isActiveAlarmInAlarmlist());
  });
}

void isfaultinalarmlist_ext(isfaultinalarmlist_struct* parameters) {
  onReader<Reader>(ORIGIN(isfaultinalarmlist), parameters, [&](Reader& reader) {
    parameters->xFaultInAlarmlist = iecBool(reader.isFaultInAlarmlist());
  });
}

void isactivefaultinalarmlist_ext(isactivefaultinalarmlist_struct* parameters) {
  onReader<Reader>(ORIGIN(isactivefaultinalarmlist), parameters, [&](Reader& reader) {
    parameters->xActiveFaultInAlarmlist = iecBool(reader.isActiveFaultInAlarmlist());
  });
}

void setfilterstatealarm_ext(setfilterstatealarm_struct* parameters) {
  onReader<Reader>(ORIGIN(setfilterstatealarm), parameters,
                   [&](Reader& reader) { reader.setFilterStateAlarm(parameters->xActive != 0); });
}

void setfilterstateacknowledge_ext(setfilterstateacknowledge_struct* parameters) {
  onReader<Reader>(ORIGIN(setfilterstateacknowledge), parameters,
                   [&](Reader& reader) { reader.setFilterStateAcknowledge(parameters->xAcknowledged != 0); });
}

void resetfilterstatealarm_ext(resetfilterstatealarm_struct* parameters) {
  onReader<Reader>(ORIGIN(resetfilterstatealarm), parameters, &Reader::resetFilterStateAlarm);
}

void resetfilterstateacknowledge_ext(resetfilterstateacknowledge_struct* parameters) {
  onReader<Reader>(ORIGIN(resetfilterstateacknowledge), parameters, &Reader::resetFilterStateAcknowledge);
}
