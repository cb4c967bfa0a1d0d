#pragma once

#include "StoredEntry.h"

/**
 * Entries that the service itself adds to the event list, with the present time. Their text is a key of the
 * text table, one of DescriptionText's, followed by the text of what they are about.
 */
namespace ServiceEntries {

/** An entry of the audit trail. @param about the alarm or event that the user changed, or none */
StoredEntry audit(const char* key, const QByteArray& user, const StoredEntry& about = {});

/** The "off" of an alarm. */
StoredEntry off(const char* key, const StoredEntry& alarm);

}  // namespace ServiceEntries
