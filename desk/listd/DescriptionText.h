#pragma once

#include <QByteArrayList>

#include <string>
#include <string_view>

/**
 * Makes the text of a list entry from its description, in one of the service's languages. The stored
 * description, a JSON object, is not changed.
 *
 * The text is "Module: Object Instance" without the empty names, then the URL in angle brackets. Placeholders
 * in the names are replaced by their arguments, placeholders in the URL by the names of their own
 * descriptions. With text source 1 the object's name is a key of the text table; a name that is no key is
 * shown as it is.
 */
namespace DescriptionText {

/** Keys of the text table for entries that the service itself adds. */
constexpr char kAlarmAcknowledged[] = "AlarmAcknowledged";
constexpr char kDetectorAcknowledged[] = "DetectorAcknowledged";
constexpr char kAlarmNotReported[] = "AlarmNotReported";
constexpr char kProgramEnded[] = "ProgramEnded";
constexpr char kEventLogged[] = "EventLogged";
constexpr char kAlarmRaised[] = "AlarmRaised";
constexpr char kAlarmCleared[] = "AlarmCleared";
constexpr char kEventsDeleted[] = "EventsDeleted";

/** The service's languages, the default first. */
QByteArrayList languages();

/**
 * @param description JSON object
 * @param language one of languages(); any other selects the default
 * @param text set to the text in UTF-8, cut as MessageReader does
 * @return false if the description is not a JSON object
 */
bool make(std::string_view description, const QByteArray& language, std::string& text);

/** A description for an entry of the service itself: its text is the row `key` of the text table, followed by
 * the text of the description `subject` if that is not empty. */
QByteArray ofTable(const char* key, const QByteArray& subject);

}  // namespace DescriptionText
