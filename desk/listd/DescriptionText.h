#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

/**
 * Turns the description of an entry into the text that a list shows, in one of the service's languages. The
 * stored description stays as the sender gave it.
 *
 * The text is "Module: Object Instance" of the names that are not empty, with every placeholder replaced by
 * its argument, followed by the URL in angle brackets, its placeholders replaced by the text of their own
 * descriptions. With the text source "table" the object's name is a key of the text table; a name that is not
 * there stands as it is.
 */
namespace DescriptionText {

/** Characters of a text at most; arguments could multiply it otherwise. */
constexpr int kMaxLength = 4096;

/** Keys of the table for the entries that the service writes itself. */
constexpr char kAlarmAcknowledged[] = "AlarmAcknowledged";
constexpr char kDetectorAcknowledged[] = "DetectorAcknowledged";

/** The service's languages, the default first. [any-thread] */
QStringList languages();

/** @param language one of languages(); any other selects the default. [any-thread] */
QString text(const QJsonObject& description, const QString& language);

/** A description that shows one text of the table, with the text of `subject` appended if there is one.
 * [any-thread] */
QJsonObject ofTable(const char* key, const QJsonObject& subject);

}  // namespace DescriptionText
