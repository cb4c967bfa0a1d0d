#include "EventReader.h"

#include <ctime>

namespace {

constexpr RTS_IEC_DINT kMaxEntries = 1000;

/** Filter bounds are local time. */
RTS_IEC_DATE_AND_TIME localTime(std::uint32_t utc) {
  const auto time = static_cast<std::time_t>(utc);
  std::tm parts{};
  localtime_r(&time, &parts);
  return static_cast<RTS_IEC_DATE_AND_TIME>(timegm(&parts));
}

}  // namespace

EventReader::EventReader(const Functions& functions) : m_functions(functions) {
  openeventlistreadhandle_struct open{};
  m_functions.openEventRead(&open);
  m_handle = open.hReadHandle;
}

EventReader::~EventReader() {
  closeeventlistreadhandle_struct close{m_handle};
  m_functions.closeEventRead(&close);
}

bool EventReader::takeChanged() {
  haslistchanged_struct changed{m_handle, 0};
  m_functions.hasListChanged(&changed);
  resetlistchanged_struct reset{m_handle};
  if (changed.xListChanged != 0) {
    m_functions.resetListChanged(&reset);
  }
  return changed.xListChanged != 0;
}

RTS_IEC_INT EventReader::load(const char* language) {
  setlistreadlanguage_struct choose{m_handle, language};
  m_functions.setLanguage(&choose);
  loadcompleteeventlist_struct step{m_handle, TAVROLINE_ERROR};
  m_functions.loadEvents(&step);
  return step.iResult;
}

std::vector<stEventlistEntryType> EventReader::entries() const {
  std::vector<stEventlistEntryType> array(kMaxEntries);
  stGetEventlistEntriesType request{m_handle, array.data(), kMaxEntries, TAVROLINE_ERROR, 0};
  geteventlistentries_struct get{&request};
  m_functions.getEvents(&get);
  array.resize(static_cast<std::size_t>(request.diNumberOfEntries));
  return array;
}

void EventReader::filterType(RTS_IEC_INT type) {
  addfiltereventtype_struct add{m_handle, type};
  m_functions.addFilterType(&add);
}

void EventReader::filterTime(std::uint32_t earliest, std::uint32_t latest) {
  setfiltertime_struct range{m_handle, localTime(latest), localTime(earliest)};
  m_functions.setFilterTime(&range);
}

void EventReader::resetFilters() {
  resetfilterall_struct reset{m_handle};
  m_functions.resetFilters(&reset);
}

void EventReader::filterKeyword(RTS_IEC_INT list, const char* keyword) {
  addfilterkeyword_struct add{m_handle, list, keyword};
  m_functions.addFilterKeyword(&add);
}
