#include "Arguments.h"

#include <pwd.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "Commands.h"

namespace {

using Texts = EntryFilter::Texts;

constexpr char kLanguage[] = "language of the descriptions, for example de";

/** The login name, or without a login the name of the process's user. */
std::string loginName() {
  const char* const login = getlogin();
  const passwd* const entry = getpwuid(getuid());
  return login != nullptr ? login : entry != nullptr ? entry->pw_name : std::to_string(getuid());
}

std::string complaintAboutTime(const std::string& text) {
  if (EntryFilter::time(text, false).isValid()) {
    return {};
  }
  return "'" + text +
         "' is no time; use 2026-11-23, 2026-11-23T13:00, 13:00 (today), today, yesterday, @1764000000"
         " (seconds since 1970) or 15m (ago; s, m, h, d, w)";
}

std::string complaintAboutEmpty(const std::string& text) {
  return text.empty() ? "must not be empty" : std::string();
}

/** An option whose value is one of a few words. */
template <class Value>
CLI::Option* addChoice(CLI::App* command, const char* name, Value& value, const Texts& words,
                       const char* help) {
  return command->add_option(name, value, help)->check(CLI::IsMember(words).description(""));
}

/** An option that may be given again and takes one text each time. */
CLI::Option* addTexts(CLI::App* command, const char* name, Texts& texts, const char* help) {
  return command->add_option(name, texts, help)->type_name("WORD")->allow_extra_args(false);
}

/** Options that both lists have. */
void addListOptions(CLI::App* command, Arguments& arguments) {
  EntryFilter& filter = arguments.filter;
  command->add_option("-l,--language", arguments.language, kLanguage);
  addChoice(command, "-t,--type", filter.types, {"alarm", "audit", "fault", "event"},
            "these types only, separated by commas: alarm, audit, fault, event")
      ->type_name("TYPE")
      ->allow_extra_args(false)
      ->delimiter(',');
  const auto addTime = [&](const char* name, std::string& time, const char* help) {
    command->add_option(name, time, help)->type_name("TIME")->check(complaintAboutTime);
  };
  addTime("-s,--since", arguments.since,
          "from this time on: a date, a time, both with T between, today, yesterday, @SECONDS or 15m");
  addTime("--until", arguments.until, "up to this time; a date alone is its whole day");
  addTexts(command, "-k,--keyword", filter.keywords, "entries with this keyword; given again, with either");
  addTexts(command, "--without", filter.excludedKeywords, "entries without this keyword; may be given again");
  command->add_option("-n,--count", arguments.count, "the newest of these only; 0 for all")->type_name("N");
  command->add_flag("-f,--follow", arguments.follow, "show every change, until SIGINT or the reader ends");
}

void addAlarmStates(CLI::App* alarms, EntryFilter& filter) {
  const auto add = [&](const char* name, std::optional<bool>& state, bool value, const char* help) {
    return alarms->add_flag_callback(
        name, [&state, value] { state = value; }, help);
  };
  CLI::Option* active = add("--active", filter.active, true, "active ones only");
  add("--inactive", filter.active, false, "inactive ones only")->excludes(active);
  CLI::Option* done = add("--acknowledged", filter.acknowledged, true, "acknowledged ones only");
  add("--unacknowledged", filter.acknowledged, false, "others only")->excludes(done);
}

void addEntryOptions(CLI::App* command, Arguments::Entry& entry, const Texts& types, const char* help) {
  addChoice(command, "-t,--type", entry.type, types, help)->type_name("TYPE");
  command->add_option("-m,--module", entry.module, "name of the module");
  command->add_option("-i,--icon", entry.icon, "icon, instead of that of the type");
  addTexts(command, "-k,--keyword", entry.keywords, "keyword; may be given again");
  command->add_option("TEXT", entry.text, "what the entry says")->required()->check(complaintAboutEmpty);
}

/** Who adds a command with its help. */
using Add = std::function<CLI::App*(const char* name, Arguments::Command value, const char* help)>;

void addChanges(const Add& add, Arguments& arguments) {
  CLI::App* log = add("log", Commands::log, "Log an entry");
  addEntryOptions(log, arguments.entry, {"audit", "event"}, "audit (the default) or event");
  CLI::App* raise =
      add("raise", Commands::raise, "Raise an alarm that no program owns; prints its identifier");
  addEntryOptions(raise, arguments.entry, {"alarm", "fault"}, "alarm (the default) or fault");
  raise->add_option("--id", arguments.alarmIds, "identifier, instead of a new one")
      ->type_name("ID")
      ->expected(1);
  CLI::App* clear = add("clear", Commands::clear, "Turn alarms off");
  CLI::App* ack = add("ack", Commands::acknowledge, "Acknowledge alarms");
  for (CLI::App* command : {clear, ack}) {
    command
        ->add_option("ID", arguments.alarmIds,
                     "identifiers as the alarm list shows them, or their first 9 characters")
        ->type_name("")
        ->required();
  }
  CLI::App* detector = add("ack-detector", Commands::acknowledgeDetector, "Acknowledge the central detector");
  CLI::App* deletion = add("delete-events", Commands::deleteEvents, "Delete the event list");
  deletion->add_flag("-y,--yes", arguments.yes, "do not ask, on a terminal");
  for (CLI::App* command : {log, raise, clear, ack, detector, deletion}) {
    command->add_option("-u,--user", arguments.user, "who does it; the login name by default")
        ->type_name("NAME")
        ->check(complaintAboutEmpty);
  }
}

void addExport(CLI::App* command, Arguments& arguments) {
  addChoice(command, "--format", arguments.format, {"jsonl", "csv", "journal"},
            "jsonl, csv, or journal for systemd-journal-remote")
      ->type_name("FORMAT")
      ->required();
  command->add_option("--after", arguments.after, "only what is behind the entry with this cursor")
      ->type_name("CURSOR");
  command->add_option("-l,--language", arguments.language, kLanguage);
  command->add_flag("-f,--follow", arguments.follow, "go on with new entries, until the reader ends");
}

void addCommands(CLI::App& app, Arguments& arguments) {
  const auto add = [&](const char* name, Arguments::Command value, const char* help) {
    CLI::App* command = app.add_subcommand(name, help);
    command->parse_complete_callback([&arguments, value] { arguments.command = value; });
    if (value != Commands::exportEvents) {
      command->add_flag("-j,--json", arguments.json, "JSON instead of text");
    }
    return command;
  };
  addListOptions(add("events", Commands::showEvents, "Show the event list, the newest first"), arguments);
  CLI::App* alarms = add("alarms", Commands::showAlarms, "Show the alarm list, the newest change first");
  addListOptions(alarms, arguments);
  addAlarmStates(alarms, arguments.filter);
  addExport(add("export", Commands::exportEvents,
                "Write the event list for other programs, the oldest entry first"),
            arguments);
  addChanges(add, arguments);

  CLI::App* stats = add("stats", Commands::showStatistics,
                        "Show counters and flags of the service and counters of its clients");
  stats->add_option("--interval", arguments.interval, "read again after this many seconds and show rates")
      ->type_name("SECONDS")
      ->check(CLI::Range(1, 3600).description(""));
  stats->add_flag("-f,--follow", arguments.follow, "keep reading, until SIGINT or the reader ends")
      ->needs("--interval");

  add("doctor", Commands::diagnose, "Check bus, service, interface version, policy and clock");
}

/** Print the error. CLI11 reports a missing command or option first; an unknown word is the better message.
 */
int complain(const CLI::App& app, const CLI::ParseError& error) {
  const Texts unknown = app.remaining(true);
  const bool missing = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError);
  return missing && !unknown.empty() ? app.exit(CLI::ExtrasError(unknown)) : app.exit(error);
}

}  // namespace

std::optional<Arguments> Arguments::parse(int argc, char** argv, int& exitCode) {
  CLI::App app("Shows and changes what the list services hold.", "tavroline-ctl");
  app.footer(
      "The bus is that of DBUS_SYSTEM_BUS_ADDRESS if it is set, else the system bus. Tables fit the "
      "terminal;\n"
      "colours are shown on a terminal only, and not if NO_COLOR is set. Each command has its own --help.\n"
      "Exit codes: 0 done; 1 refused, not written, or the doctor found a fault; 2 wrong usage; 3 the bus\n"
      "cannot be reached; 4 no list service on the bus.");
  app.set_version_flag("--version", TAVROLINE_VERSION);
  app.require_subcommand(1);
  Arguments arguments;
  arguments.user = loginName();
  addCommands(app, arguments);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    exitCode = complain(app, error) == 0 ? ExitDone : ExitUsage;
    return std::nullopt;
  }
  return arguments;
}
