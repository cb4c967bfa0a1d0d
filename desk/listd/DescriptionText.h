#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

/**
 * Makes the text of a list entry from its description, in one of the service's languages. The stored
 * description is not changed.
 *
 * The text is "Module: Object Instance" without the empty names, then the URL in angle brackets. Placeholders
 * in the names are replaced by their arguments, placeholders in the URL by the names of their own
 * descriptions. With text source 1 the object's name is a key of the text table; a name that is no key is
 * shown as it is.
 */
namespace DescriptionText {

/** Maximum length of a text in UTF-16 code units; longer ones are cut. Arguments can be much longer than
 * their placeholders. */
constexpr int kMaxLength = 4096;

/** Keys of the text table for entries that the service itself adds. */
constexpr char kAlarmAcknowledged[] = "AlarmAcknowledged";
constexpr char kDetectorAcknowledged[] = "DetectorAcknowledged";

/** The service's languages, the default first. */
QStringList languages();

/** @param language one of languages(); any other selects the default */
QString text(const QJsonObject& description, const QString& language);

/** A description for an entry of the service itself: its text is the row `key` of the text table, followed by
 * the text of the description `subject` if that is not empty. */
QJsonObject ofTable(const char* key, const QJsonObject& subject);

}  // namespace DescriptionText
