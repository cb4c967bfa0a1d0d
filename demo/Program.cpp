// The pump station as a PLC program with one task.
#include <cstdio>
#include <memory>
#include <optional>

#include "Functions.h"
#include "PlcProgram.h"
#include "PumpStation.h"

namespace {

constexpr std::uint32_t kPeriodMilliseconds = 20;

struct Program {
  explicit Program(const PlcRuntime& plcRuntime)
      : runtime(plcRuntime), functions(plcRuntime), task{"pump station", kPeriodMilliseconds, cycle, this} {}

  static void cycle(void* state);
  static void stop(void* state);

  PlcRuntime runtime;
  Functions functions;
  PlcTask task;
  std::optional<PumpStation> station;
  bool finished = false;
};

std::unique_ptr<Program> s_program;

void Program::cycle(void* state) {
  auto* program = static_cast<Program*>(state);
  if (program->finished) {
    return;
  }
  if (!program->station) {
    program->station.emplace(program->functions);
  }
  const PumpStation::Outcome outcome = program->station->cycle();
  if (outcome == PumpStation::Outcome::Running) {
    return;
  }
  program->finished = true;
  const bool good = outcome == PumpStation::Outcome::Good;
  std::printf("\n%s\n", good ? "The lists hold what they must." : "The lists do not hold what they must.");
  std::fflush(stdout);
  program->runtime.finish(program->runtime.context, good ? 0 : 1);
}

/** Closes every handle: the component must not be left with one. */
void Program::stop(void*) {
  s_program.reset();
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int PlcProgramMain(const PlcRuntime* runtime,
                                                                     PlcProgram* program) {
  s_program = std::make_unique<Program>(*runtime);
  if (!s_program->functions.missing().empty()) {
    std::fprintf(stderr, "not registered:%s\n", s_program->functions.missing().c_str());
    s_program.reset();
    return 1;
  }
  *program = {&s_program->task, 1, Program::stop, nullptr};
  return 0;
}
