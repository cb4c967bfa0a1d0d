#include <cstdio>

#include "Arguments.h"
#include "Commands.h"
#include "ListClient.h"

int main(int argc, char** argv) {
  int exitCode = Arguments::ExitDone;
  const auto arguments = Arguments::parse(argc, argv, exitCode);
  if (!arguments) return exitCode;
  try {
    ListClient client;
    runCommand(client, *arguments);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "tavroline-ctl: %s\n", error.what());
    return Arguments::ExitFailed;
  }
  return Arguments::ExitDone;
}
