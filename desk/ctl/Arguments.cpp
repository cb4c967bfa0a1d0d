#include "Arguments.h"

#include <pwd.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "Commands.h"

namespace {

// Command lines and output are UTF-8.
using Texts = std::vector<std::string>;

constexpr char kTime[] = "TIME";

/** The login name, or without a login the name of the process's user. */
QString loginName() {
  char name[256];
  if (getlogin_r(name, sizeof name) == 0) {
    return QString::fromUtf8(name);
  }
  const passwd* const entry = getpwuid(getuid());
  return entry != nullptr ? QString::fromUtf8(entry->pw_name) : QString::number(getuid());
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

CLI::Option* addText(CLI::App* command, const char* name, QString& text, const char* help) {
  const auto store = [&text](const std::string& given) { text = QString::fromStdString(given); };
  return command->add_option_function<std::string>(name, store, help)->type_name("TEXT");
}

CLI::Option* addTexts(CLI::App* command, const char* name, QStringList& texts, const char* help) {
  const auto store = [&texts](const Texts& given) {
    for (const std::string& text : given) {
      texts += QString::fromStdString(text);
    }
  };
  return command->add_option_function<Texts>(name, store, help)->type_name("WORD")->allow_extra_args(false);
}

CLI::Option* addTypes(CLI::App* command, QVector<int>& types, const Texts& names, const char* help) {
  const auto store = [&types](const Texts& given) {
    for (const std::string& name : given) {
      types += EntryFilter::typeNames().indexOf(QString::fromStdString(name));
    }
  };
  return command->add_option_function<Texts>("-t,--type", store, help)
      ->type_name("TYPE")
      ->allow_extra_args(false)
      ->check(CLI::IsMember(names).description(""));
}

/** Options that both lists have. */
void addListOptions(CLI::App* command, Arguments& arguments) {
  EntryFilter& filter = arguments.filter;
  addText(command, "-l,--language", arguments.language, "language of the descriptions, for example de");
  addTypes(command, filter.types, {"alarm", "audit", "fault", "event"},
           "these types only, separated by commas: alarm, audit, fault, event")
      ->delimiter(',');
  command
      ->add_option(
          "-s,--since", arguments.since,
          "from this time on: a date, a time, both with T between, today, yesterday, @SECONDS or 15m")
      ->type_name(kTime)
      ->check(complaintAboutTime);
  command->add_option("--until", arguments.until, "up to this time; a date alone is its whole day")
      ->type_name(kTime)
      ->check(complaintAboutTime);
  addTexts(command, "-k,--keyword", filter.keywords, "entries with this keyword; given again, with either");
  addTexts(command, "--without", filter.excludedKeywords, "entries without this keyword; may be given again");
  command->add_option("-n,--count", arguments.count, "the newest of these only; 0 for all")->type_name("N");
  command->add_flag("-f,--follow", arguments.follow, "show every change, until SIGINT or the reader ends");
}

void addLists(CLI::App* events, CLI::App* alarms, Arguments& arguments) {
  EntryFilter& filter = arguments.filter;
  addListOptions(events, arguments);
  addListOptions(alarms, arguments);
  const auto add = [&](const char* name, std::optional<bool>& state, bool value, const char* help) {
    return alarms->add_flag_callback(
        name, [&state, value] { state = value; }, help);
  };
  CLI::Option* active = add("--active", filter.active, true, "active ones only");
  add("--inactive", filter.active, false, "inactive ones only")->excludes(active);
  CLI::Option* done = add("--acknowledged", filter.acknowledged, true, "acknowledged ones only");
  add("--unacknowledged", filter.acknowledged, false, "others only")->excludes(done);
}

void addEntryOptions(CLI::App* command, Arguments::Entry& entry) {
  addText(command, "-m,--module", entry.module, "name of the module");
  addText(command, "-i,--icon", entry.icon, "icon, instead of that of the type");
  addTexts(command, "-k,--keyword", entry.keywords, "keyword; may be given again");
  addText(command, "TEXT", entry.text, "what the entry says")->required()->check(complaintAboutEmpty);
}

/** Who adds a command with its help. */
using Add = std::function<CLI::App*(const char* name, Arguments::Command value, const char* help)>;

void addChanges(const Add& add, Arguments& arguments) {
  CLI::App* log = add("log", Commands::log, "Log an entry");
  addTypes(log, arguments.entry.types, {"audit", "event"}, "audit (the default) or event")->expected(1);
  CLI::App* raise =
      add("raise", Commands::raise, "Raise an alarm that no program owns; prints its identifier");
  addTypes(raise, arguments.entry.types, {"alarm", "fault"}, "alarm (the default) or fault")->expected(1);
  addTexts(raise, "--id", arguments.alarmIds, "identifier, instead of a new one")
      ->type_name("ID")
      ->expected(1);
  addEntryOptions(log, arguments.entry);
  addEntryOptions(raise, arguments.entry);
  CLI::App* clear = add("clear", Commands::clear, "Turn alarms off");
  CLI::App* ack = add("ack", Commands::acknowledge, "Acknowledge alarms");
  for (CLI::App* command : {clear, ack}) {
    addTexts(command, "ID", arguments.alarmIds,
             "identifiers as the alarm list shows them, or their first 9 characters")
        ->type_name("")
        ->allow_extra_args()
        ->required();
  }
  CLI::App* detector = add("ack-detector", Commands::acknowledgeDetector, "Acknowledge the central detector");
  CLI::App* deletion = add("delete-events", Commands::deleteEvents, "Delete the event list");
  deletion->add_flag("-y,--yes", arguments.yes, "do not ask, on a terminal");
  for (CLI::App* command : {log, raise, clear, ack, detector, deletion}) {
    addText(command, "-u,--user", arguments.user, "who does it; the login name by default")
        ->type_name("NAME")
        ->check(complaintAboutEmpty);
  }
}

void addExport(CLI::App* command, Arguments& arguments) {
  addText(command, "--format", arguments.format, "jsonl, csv, or journal for systemd-journal-remote")
      ->type_name("FORMAT")
      ->check(CLI::IsMember(Texts{"jsonl", "csv", "journal"}).description(""))
      ->required();
  const auto readCursor = [&arguments](const std::string& text) {
    char rest = 0;
    if (std::sscanf(text.c_str(), "%llu:%lld%c", &arguments.after.epoch, &arguments.after.number, &rest) !=
        2) {
      throw CLI::ValidationError("--after", "'" + text + "' is no cursor of an exported entry");
    }
  };
  command
      ->add_option_function<std::string>("--after", readCursor,
                                         "only what is behind the entry with this cursor")
      ->type_name("CURSOR");
  addText(command, "-l,--language", arguments.language, "language of the descriptions, for example de");
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
  CLI::App* events = add("events", Commands::showEvents, "Show the event list, the newest first");
  CLI::App* alarms = add("alarms", Commands::showAlarms, "Show the alarm list, the newest change first");
  addLists(events, alarms, arguments);
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
