#include <csignal>
#include <cstdio>

#include "Arguments.h"
#include "ListClient.h"
#include "Terminal.h"

int main(int argc, char** argv) {
  int exitCode = Arguments::ExitDone;
  const auto arguments = Arguments::parse(argc, argv, exitCode);
  if (!arguments) {
    return exitCode;
  }
  std::signal(SIGPIPE, SIG_IGN);  // Terminal::print() reports it
  const auto complain = [](const std::exception& error, Arguments::Exit code) {
    std::fprintf(stderr, "tavroline-ctl: %s\n", error.what());
    return code;
  };
  try {
    arguments->command(*arguments);
  } catch (const ReaderGone&) {
    return Arguments::ExitDone;
  } catch (const std::invalid_argument& error) {
    return complain(error, Arguments::ExitUsage);
  } catch (const NoBus& error) {
    return complain(error, Arguments::ExitNoBus);
  } catch (const NoService& error) {
    return complain(error, Arguments::ExitNoService);
  } catch (const std::exception& error) {
    return complain(error, Arguments::ExitFailed);
  }
  return Arguments::ExitDone;
}
