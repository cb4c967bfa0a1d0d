#pragma once

#include <systemd/sd-bus.h>

#include <QByteArray>
#include <QString>
#include <QStringList>

#include "ClientCounters.h"
#include "ListService.h"

/**
 * Reads the arguments of one call, in their order, and enforces the service's bounds: every result may be
 * stored and sent.
 *
 * Texts that are too long are cut, and so are lists of texts and lists in a description; busText() replaces
 * characters that the bus does not accept. Other invalid arguments throw CallError. sd-bus has checked the
 * signature of the call.
 */
class CallReader {
 public:
  static constexpr int kMaxText = 4096;       ///< UTF-16 code units of one text
  static constexpr int kMaxIdentifier = 255;  ///< UTF-16 code units of a session or an alarm identifier
  static constexpr int kMaxItems = 1000;  ///< keywords; elements of a list, members of a map in a description
  static constexpr int kMaxIds = 10000;   ///< alarms that one call acknowledges
  static constexpr int kMaxNesting = 4;   ///< levels of lists and maps within the description's map
  static constexpr int kMaxJson = 256 * 1024;  ///< bytes of the description, and of the keywords, as stored

  /** @param call borrowed */
  explicit CallReader(sd_bus_message* call) : m_call(call) {}

  /** A text, cut at kMaxText. */
  QString text();

  /** An alarm identifier or a session; one that is longer than kMaxIdentifier is refused. */
  QString identifier();

  /** A session; an empty one is refused. */
  QString session();

  /** The call's connection, its session (as session()) and sequence number; a number outside of 1 to 2^63-1
   * is refused. */
  Sender sender();

  int number();
  quint32 count();

  /** Milliseconds since 1970-01-01 00:00:00 UTC; a time outside of the years 1970 to 9998 is refused, so that
   * its local time has four digits for the year. */
  qint64 time();

  /** A list of texts, cut after `maxItems`. */
  QStringList texts(int maxItems);

  /** Keywords (as) as a JSON array, and the description map (a{sv}) as a JSON object. */
  QByteArray keywords();
  QByteArray description();

  /** The message counters of a client (a{st}); unknown names are ignored, missing ones are 0. */
  ClientCounters::Figures figures();

 private:
  sd_bus_message* m_call;
};
