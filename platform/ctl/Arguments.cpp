#include "Arguments.h"

#include <CLI/CLI.hpp>

namespace {

/** What CLI11 fills; the texts become Arguments afterwards. Command lines and output are UTF-8. */
struct Raw {
  std::string language;
  std::string user;
  std::vector<std::string> alarmIds;
  bool active = false;
  bool inactive = false;
  bool acknowledged = false;
  bool unacknowledged = false;
};

QString textOf(const std::string& utf8) {
  return QString::fromStdString(utf8);
}

std::optional<bool> stateOf(bool yes, bool no) {
  return yes || no ? std::optional<bool>(yes) : std::nullopt;
}

/** Options that both lists have. */
CLI::App* addList(CLI::App& app, const char* name, const char* help, Arguments& arguments, Raw& raw) {
  CLI::App* command = app.add_subcommand(name, help);
  command->add_option("--language", raw.language, "language of the descriptions, for example de");
  command->add_flag("--json", arguments.json, "JSON instead of a table");
  command->add_flag("--follow", arguments.follow, "go on with every change, until SIGINT");
  return command;
}

void addCommands(CLI::App& app, Arguments& arguments, Raw& raw) {
  using Command = Arguments::Command;
  const auto choose = [&arguments](CLI::App* command, Command value) {
    command->parse_complete_callback([&arguments, value] { arguments.command = value; });
    return command;
  };
  CLI::App* events = choose(addList(app, "events", "Show the event list, the newest first", arguments, raw),
                            Command::Events);
  events->add_option("--count", arguments.count, "newest entries only; 0 for all");
  choose(app.add_subcommand("delete-events", "Delete the event list"), Command::DeleteEvents);

  CLI::App* alarms = choose(addList(app, "alarms", "Show the alarm list", arguments, raw), Command::Alarms);
  CLI::Option* active = alarms->add_flag("--active", raw.active, "active ones only");
  alarms->add_flag("--inactive", raw.inactive, "inactive ones only")->excludes(active);
  CLI::Option* acknowledged = alarms->add_flag("--acknowledged", raw.acknowledged, "acknowledged ones only");
  alarms->add_flag("--unacknowledged", raw.unacknowledged, "others only")->excludes(acknowledged);

  CLI::App* ack = choose(app.add_subcommand("ack", "Acknowledge alarms"), Command::Acknowledge);
  ack->add_option("ID", raw.alarmIds, "identifiers as the alarm list shows them")->required();
  ack->add_option("--user", raw.user, "who acknowledges")->required();
  CLI::App* detector = choose(app.add_subcommand("ack-detector", "Acknowledge the central detector"),
                              Command::AcknowledgeDetector);
  detector->add_option("--user", raw.user, "who acknowledges")->required();

  CLI::App* stats =
      choose(app.add_subcommand("stats", "Show the counters and flags of the service"), Command::Statistics);
  stats->add_flag("--json", arguments.json, "JSON instead of a table");
}

}  // namespace

std::optional<Arguments> Arguments::parse(int argc, char** argv, int& exitCode) {
  CLI::App app("Shows and acknowledges what the list services hold.", "tavroline-ctl");
  app.footer(
      "The bus is that of DBUS_SYSTEM_BUS_ADDRESS where that is set.\n"
      "Exit codes: 0 done; 1 bus or service unreachable, or the service refused; 2 wrong usage.");
  app.set_version_flag("--version", TAVROLINE_VERSION);
  app.require_subcommand(1);
  Arguments arguments;
  Raw raw;
  addCommands(app, arguments, raw);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    exitCode = app.exit(error) == 0 ? ExitDone : ExitUsage;
    return std::nullopt;
  }
  arguments.language = textOf(raw.language);
  arguments.user = textOf(raw.user);
  for (const std::string& id : raw.alarmIds)
    arguments.alarmIds.append(textOf(id));
  arguments.active = stateOf(raw.active, raw.inactive);
  arguments.acknowledged = stateOf(raw.acknowledged, raw.unacknowledged);
  return arguments;
}
