#include "Arguments.h"

#include <CLI/CLI.hpp>

namespace {

/** The values as CLI11 stores them, before conversion into Arguments. Command lines and output are UTF-8. */
struct Raw {
  using Texts = std::vector<std::string>;

  std::string language, user;
  Texts alarmIds, types, keywords, excludedKeywords;
  bool active = false;
  bool inactive = false;
  bool acknowledged = false;
  bool unacknowledged = false;
};

constexpr char kTime[] = "TIME";

QStringList textsOf(const Raw::Texts& utf8) {
  QStringList texts;
  for (const std::string& text : utf8) {
    texts.append(QString::fromStdString(text));
  }
  return texts;
}

std::optional<bool> stateOf(bool yes, bool no) {
  return yes || no ? std::optional<bool>(yes) : std::nullopt;
}

std::string complaintAboutTime(const std::string& text) {
  if (EntryFilter::time(text, false).isValid()) {
    return {};
  }
  return "'" + text +
         "' is no time; use 2026-11-23, 2026-11-23T13:00, 13:00 (today) or 15m (ago; s, m, h, d)";
}

/** Options that both lists have. */
void addListOptions(CLI::App* command, Arguments& arguments, Raw& raw) {
  static const Raw::Texts kTypes = [] {
    Raw::Texts names;
    for (const QString& name : EntryFilter::typeNames()) {
      names.push_back(name.toStdString());
    }
    return names;
  }();
  command->add_option("--language", raw.language, "language of the descriptions, for example de");
  command
      ->add_option("--type", raw.types, "these types only, separated by commas: alarm, audit, fault, event")
      ->type_name("TYPE")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(CLI::IsMember(kTypes).description(""));
  command
      ->add_option("--since", arguments.since,
                   "from this time on: a date, a time, both with T between, or 15m")
      ->type_name(kTime)
      ->check(complaintAboutTime);
  command->add_option("--until", arguments.until, "up to this time; a date alone is its whole day")
      ->type_name(kTime)
      ->check(complaintAboutTime);
  command->add_option("--keyword", raw.keywords, "entries with this keyword; given again, with either")
      ->type_name("WORD")
      ->allow_extra_args(false);
  command->add_option("--without", raw.excludedKeywords, "entries without this keyword; may be given again")
      ->type_name("WORD")
      ->allow_extra_args(false);
  command->add_option("--count", arguments.count, "the newest of these only; 0 for all")->type_name("N");
  command->add_flag("--follow", arguments.follow, "show every change, until SIGINT");
}

void addLists(CLI::App* events, CLI::App* alarms, Arguments& arguments, Raw& raw) {
  addListOptions(events, arguments, raw);
  addListOptions(alarms, arguments, raw);
  CLI::Option* active = alarms->add_flag("--active", raw.active, "active ones only");
  alarms->add_flag("--inactive", raw.inactive, "inactive ones only")->excludes(active);
  CLI::Option* acknowledged = alarms->add_flag("--acknowledged", raw.acknowledged, "acknowledged ones only");
  alarms->add_flag("--unacknowledged", raw.unacknowledged, "others only")->excludes(acknowledged);
}

void addCommands(CLI::App& app, Arguments& arguments, Raw& raw) {
  using Command = Arguments::Command;
  const auto add = [&](const char* name, Command value, const char* help) {
    CLI::App* command = app.add_subcommand(name, help);
    command->parse_complete_callback([&arguments, value] { arguments.command = value; });
    command->add_flag("--json", arguments.json, "JSON instead of text");
    return command;
  };
  CLI::App* events = add("events", Command::Events, "Show the event list, the newest first");
  CLI::App* alarms = add("alarms", Command::Alarms, "Show the alarm list, the newest change first");
  addLists(events, alarms, arguments, raw);
  add("delete-events", Command::DeleteEvents, "Delete the event list");

  CLI::App* ack = add("ack", Command::Acknowledge, "Acknowledge alarms");
  ack->add_option("ID", raw.alarmIds, "identifiers as the alarm list shows them, or their first 9 characters")
      ->type_name("")
      ->required();
  CLI::App* detector = add("ack-detector", Command::AcknowledgeDetector, "Acknowledge the central detector");
  for (CLI::App* command : {ack, detector}) {
    command->add_option("--user", raw.user, "who acknowledges")->type_name("NAME")->required();
  }

  CLI::App* stats =
      add("stats", Command::Statistics, "Show counters and flags of the service and counters of its clients");
  stats->add_option("--interval", arguments.interval, "read again after this many seconds and show rates")
      ->type_name("SECONDS")
      ->check(CLI::Range(1, 3600).description(""));
  stats->add_flag("--follow", arguments.follow, "keep reading, until SIGINT")->needs("--interval");

  add("doctor", Command::Doctor, "Check bus, service, interface version, policy and clock");
}

/** Print the error. CLI11 reports a missing command or option first; an unknown word is the better message.
 */
int complain(const CLI::App& app, const CLI::ParseError& error) {
  const Raw::Texts unknown = app.remaining(true);
  const bool missing = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError);
  return missing && !unknown.empty() ? app.exit(CLI::ExtrasError(unknown)) : app.exit(error);
}

}  // namespace

std::optional<Arguments> Arguments::parse(int argc, char** argv, int& exitCode) {
  CLI::App app("Shows and acknowledges what the list services hold.", "tavroline-ctl");
  app.footer(
      "The bus is that of DBUS_SYSTEM_BUS_ADDRESS if it is set, else the system bus. Tables fit the "
      "terminal;\n"
      "colours are shown on a terminal only, and not if NO_COLOR is set. Each command has its own --help.\n"
      "Exit codes: 0 done; 1 the service refused, or the doctor found a fault; 2 wrong usage; 3 the bus\n"
      "cannot be reached; 4 no list service on the bus.");
  app.set_version_flag("--version", TAVROLINE_VERSION);
  app.require_subcommand(1);
  Arguments arguments;
  Raw raw;
  addCommands(app, arguments, raw);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    exitCode = complain(app, error) == 0 ? ExitDone : ExitUsage;
    return std::nullopt;
  }
  arguments.language = QString::fromStdString(raw.language);
  arguments.user = QString::fromStdString(raw.user);
  arguments.alarmIds = textsOf(raw.alarmIds);
  EntryFilter& filter = arguments.filter;
  for (const QString& name : textsOf(raw.types)) {
    filter.types.append(EntryFilter::typeNames().indexOf(name));
  }
  filter.keywords = textsOf(raw.keywords);
  filter.excludedKeywords = textsOf(raw.excludedKeywords);
  filter.active = stateOf(raw.active, raw.inactive);
  filter.acknowledged = stateOf(raw.acknowledged, raw.unacknowledged);
  return arguments;
}
