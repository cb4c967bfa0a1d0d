#pragma once

#include <functional>

#include "ListClient.h"

/** A place in an event list: behind the entry with this number. */
struct Cursor {
  quint64 epoch = 0;  ///< identifies the list; 0: before the oldest entry of whatever list there is
  qint64 number = 0;
};

/** Reads the event list page by page from a cursor on, and says on standard error which entries are missing.
 */
class EventPages {
 public:
  using Use = std::function<void(quint64 epoch, const QJsonArray& entries)>;

  EventPages(const std::string& language, Cursor after) : m_language(language), m_at(after) {}

  /** Hand over all entries that were not handed over before, the oldest first. */
  void read(ListClient& client, const Use& use);

 private:
  void moveTo(const ListClient::Page& page);

  std::string m_language;
  Cursor m_at;  ///< of the last entry that was handed over or said to be missing
};
