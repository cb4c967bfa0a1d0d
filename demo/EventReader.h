#pragma once

#include <cstdint>
#include <vector>

#include "Entry.h"
#include "Functions.h"

/** A read handle on the event list; open while the object exists. */
class EventReader {
 public:
  explicit EventReader(const Functions& functions);
  ~EventReader();
  EventReader(const EventReader&) = delete;
  EventReader& operator=(const EventReader&) = delete;

  /** Whether the list has changed since the last call. */
  bool takeChanged();

  /** One step of loading the list in a language: TAVROLINE_DONE, _BUSY (call again) or _ERROR. */
  RTS_IEC_INT load(const char* language);

  /** The entries of the loaded list that pass the filters, the newest first. */
  std::vector<stEventlistEntryType> entries() const;

  void filterType(RTS_IEC_INT type);
  void includeKeyword(const char* keyword) { filterKeyword(TAVROLINE_INCLUDE, keyword); }
  void excludeKeyword(const char* keyword) { filterKeyword(TAVROLINE_EXCLUDE, keyword); }
  /** Both bounds are inclusive, in UTC seconds. */
  void filterTime(std::uint32_t earliest, std::uint32_t latest);
  void resetFilters();

 private:
  void filterKeyword(RTS_IEC_INT list, const char* keyword);

  const Functions& m_functions;
  TavrolineHandle m_handle;
};
