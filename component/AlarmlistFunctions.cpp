#include "ExternalFunction.h"
#include "TavrolineAlarmlistRead.h"
#include "tavroline/alarmlist.h"

using Reader = TavrolineAlarmlistRead;

namespace {

RTS_IEC_BOOL iecBool(bool value) {
  return value ? 1 : 0;
}

}  // namespace

void loadcompletealarmlist_ext(loadcompletealarmlist_struct* parameters) {
  load<Reader>(__func__, parameters, [](Reader& reader, auto&) { return reader.loadCompleteAlarmlist(); });
}

void getalarmlistentries_ext(getalarmlistentries_struct* parameters) {
  copyRequest<Reader>(__func__, parameters, [](Reader& reader, auto& request) {
    return reader.convertAlarmlist(request.diNumberOfEntries, request.pastEntries, request.diMaxEntries);
  });
}

void getcentraldetectorstate_ext(getcentraldetectorstate_struct* parameters) {
  onReader<Reader>(__func__, parameters, [](Reader& reader, auto& p) {
    p.xCentralDetectorState = iecBool(reader.getCentralDetectorState());
  });
}

void isalarminalarmlist_ext(isalarminalarmlist_struct* parameters) {
  onReader<Reader>(__func__, parameters, [](Reader& reader, auto& p) {
    p.xAlarmInAlarmlist = iecBool(reader.isAlarmInAlarmlist());
  });
}

void isactivealarminalarmlist_ext(isactivealarminalarmlist_struct* parameters) {
  onReader<Reader>(__func__, parameters, [](Reader& reader, auto& p) {
    p.xActiveAlarmInAlarmlist = iecBool(reader.isActiveAlarmInAlarmlist());
  });
}

void isfaultinalarmlist_ext(isfaultinalarmlist_struct* parameters) {
  onReader<Reader>(__func__, parameters, [](Reader& reader, auto& p) {
    p.xFaultInAlarmlist = iecBool(reader.isFaultInAlarmlist());
  });
}

void isactivefaultinalarmlist_ext(isactivefaultinalarmlist_struct* parameters) {
  onReader<Reader>(__func__, parameters, [](Reader& reader, auto& p) {
    p.xActiveFaultInAlarmlist = iecBool(reader.isActiveFaultInAlarmlist());
  });
}

void setfilterstatealarm_ext(setfilterstatealarm_struct* parameters) {
  onReader<Reader>(__func__, parameters,
                   [](Reader& reader, auto& p) { reader.setFilterStateAlarm(p.xActive != 0); });
}

void setfilterstateacknowledge_ext(setfilterstateacknowledge_struct* parameters) {
  onReader<Reader>(__func__, parameters,
                   [](Reader& reader, auto& p) { reader.setFilterStateAcknowledge(p.xAcknowledged != 0); });
}

void resetfilterstatealarm_ext(resetfilterstatealarm_struct* parameters) {
  onReader<Reader>(__func__, parameters, [](Reader& reader, auto&) { reader.resetFilterStateAlarm(); });
}

void resetfilterstateacknowledge_ext(resetfilterstateacknowledge_struct* parameters) {
  onReader<Reader>(__func__, parameters, [](Reader& reader, auto&) { reader.resetFilterStateAcknowledge(); });
}
