#include "LogFixture.h"

// In a source of its own: only programs that link the component use it.
void (*communicationCycle())() {
  static ComponentInitRecord record{};
  ComponentEntry(&record);
  return [] { record.pfHookFunction(TAVROLINE_HOOK_COMM_CYCLE, 0, 0); };
}
