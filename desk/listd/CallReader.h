#pragma once

#include <systemd/sd-bus.h>

#include <QByteArray>
#include <QString>
#include <QStringList>

#include "ClientBooks.h"
#include "ListService.h"

/**
 * Reads the arguments of one call in their order and holds them to the service's bounds: everything that
 * leaves here may be stored and sent again.
 *
 * Texts are made fit for the bus and cut, lists are cut; what makes no sense throws CallError. The signature
 * of the call is sd-bus's to check.
 */
class CallReader {
 public:
  static constexpr int kMaxText = 4096;        ///< characters of one text
  static constexpr int kMaxIdentifier = 255;   ///< characters of a session or an alarm identifier
  static constexpr int kMaxItems = 1000;       ///< keywords; a description's arguments or members
  static constexpr int kMaxIds = 10000;        ///< alarms that one call acknowledges
  static constexpr int kMaxNesting = 4;        ///< containers within the description
  static constexpr int kMaxJson = 256 * 1024;  ///< bytes of the description, and of the keywords, as stored

  /** @param call borrowed */
  explicit CallReader(sd_bus_message* call) : m_call(call) {}

  /** A text, cut at kMaxText. */
  QString text();

  /** An alarm identifier, or a session; refused when it is longer than kMaxIdentifier. */
  QString identifier();

  /** A session, which must not be empty. */
  QString session();

  /** Session and sequence number, which lies between 1 and 2^63-1. */
  Sender sender();

  int number();
  quint32 count();

  /** Milliseconds since 1970 UTC, years 1970 to 9998, which every local time can show. */
  qint64 time();

  /** List of texts, without those beyond `maxItems`. */
  QStringList texts(int maxItems);

  /** Keywords as a JSON array, and the description map (a{sv}) as a JSON object. */
  QByteArray keywords();
  QByteArray description();

  /** The figures of a client's books (a{st}). */
  ClientBooks::Figures figures();

 private:
  sd_bus_message* m_call;
};
