// Sequences of external-function calls over arbitrary structure bytes. Only what the interface demands of its
// caller is repaired: pointers, terminators of bare texts and upper bounds. Handles are live, closed or
// foreign.

#include <vector>

#include "ArrayBounds.h"
#include "ExternalFunctionTable.h"
#include "Fuzz.h"
#include "fake_platform.h"
#include "tavroline/tavroline.h"

namespace {

using Word = std::uint64_t;
using Function = void (*)(Word*);

// Structures, a character per word. o: a handle comes out; h: one goes in; t u: STRING, WSTRING; d b:
// stDataType, BOOL; s: size of a keyword; k g l: keywords, arguments, URL arguments; #: their bounds, in this
// order; q r: requests; x y: their entries; dot: anything.
constexpr const char* kShapes[][2] = {
    {".o", "openeventlistreadhandle_ext openalarmlistreadhandle_ext openalarmlistwritehandle_ext"},
    {"ht", "setlistreadlanguage_ext"},
    {"h.t", "addfilterkeyword_ext clearfilterkeyword_ext"},
    {"q", "geteventlistentries_ext"},
    {"r", "getalarmlistentries_ext"},
    {".tt.duskgl###", "logevent_ext"},
    {"h.tt.duskgl###", "logalarm_ext"},
    {"hbb.", "getalarmstatefromalarmhandler_ext"},
    {"suk#", "acknowledgevisualalarm_ext"},
    {"u", "acknowledgecentraldetector_ext"},
    {"h.", ""}};  // all others: every name holds the empty one

/** One sequence of calls, and the handles that it has seen. */
struct Sequence {
  FuzzedDataProvider& input;
  std::vector<Word> handles = {0};
  std::size_t placed = 0;

  void call(const ExternalFunctionEntry& row) {
    const auto* shape = kShapes;
    while (**(*shape + 1) != '\0' && std::strstr((*shape)[1], row.pszName) == nullptr)
      ++shape;
    placed = 0;
    auto* const words = reinterpret_cast<Word*>(structure((*shape)[0]));
    reinterpret_cast<Function>(row.pfFunction)(words);
    if (words != nullptr && shape == kShapes) handles.push_back(words[1]);
  }

  /** Some bytes of the input, again and again, in front of a guard page; sometimes null. */
  Word place(std::size_t size, std::size_t terminator = 0) {
    static fuzz::GuardedMemory memory[10];
    char* const bytes = memory[placed++].last<char>(size);
    const std::string some = input.ConsumeBytesAsString(input.ConsumeIntegralInRange<std::size_t>(0, 20));
    for (std::size_t i = 0; i < size && !some.empty(); ++i)
      bytes[i] = some[i % some.size()];
    std::memset(bytes + size - std::min(size, terminator), 0, std::min(size, terminator));
    return input.ConsumeIntegralInRange(0, 9) == 9 ? 0 : reinterpret_cast<Word>(bytes);
  }

  Word structure(const char* shape) {
    const Word address = place(std::strlen(shape) * sizeof(Word));
    auto* const words = reinterpret_cast<Word*>(address);
    for (std::size_t i = 0; words != nullptr && shape[i] != '\0'; ++i)
      words[i] = repaired(shape, words, i);
    return address;
  }

  static std::size_t bounded(__ARRAY__DIM__INFO& bounds) {
    if (elementCount(bounds) > 3) bounds.upper = bounds.lower + 2;
    return static_cast<std::size_t>(elementCount(bounds));
  }

  Word repaired(const char* shape, Word* words, std::size_t i) {
    const char kind = shape[i];
    auto* const bounds = reinterpret_cast<__ARRAY__DIM__INFO*>(words + std::strcspn(shape, "#"));
    auto* const capacity = reinterpret_cast<RTS_IEC_DINT*>(words + i + 1);
    const std::size_t known = input.ConsumeIntegralInRange<std::size_t>(0, handles.size());
    const std::size_t length = input.ConsumeIntegralInRange<std::size_t>(1, 300);
    if (kind == 'h') return known < handles.size() ? handles[known] : words[i];
    if (kind == 'q') return structure("hx..");
    if (kind == 'r') return structure("hy..");
    if (kind == 't') return place(length, 1);
    if (kind == 'u') return place(length * 2, 2);
    if (kind == 'b') return place(1);
    if (kind == 'd') return place(sizeof(stDataType));
    if (kind == 'k') return place(bounded(bounds[0]) * (words[std::strcspn(shape, "s")] & 0x7FFF), 1);
    if (kind == 'g') return place(bounded(bounds[1]) * sizeof(stDescriptionArgumentType));
    if (kind == 'l') return place(bounded(bounds[2]) * sizeof(stDescriptionUrlArgumentType));
    if (kind != 'x' && kind != 'y') return words[i];
    *capacity = std::min(*capacity, 3);
    return place(static_cast<std::size_t>(std::max(*capacity, 0)) *
                 (kind == 'x' ? sizeof(stEventlistEntryType) : sizeof(stAlarmlistEntryType)));
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fake::reset();
  for (const char* request :
       {"getCompleteEventlist", "getPartOfEventlist", "getCompleteAlarmlist", "getAlarmState"}) {
    for (int status : {0, 1, 0})
      fake::answer(request, {{2, {}}, {status, R"({"ListData":[{},{"EventType":3}]})"}});
  }
  ComponentInitRecord record{};
  ComponentEntry(&record);
  FuzzedDataProvider input(data, size);
  Sequence sequence{input};
  for (std::size_t open : {11UL, 12UL, 13UL})
    sequence.call(ExternalFunctionTable[open]);
  for (int i = 0; i < 50 && input.remaining_bytes() > 0; ++i) {
    sequence.call(ExternalFunctionTable[input.ConsumeIntegralInRange<std::size_t>(0, 37)]);
    if (i % 4 == 0) record.pfHookFunction(TAVROLINE_HOOK_COMM_CYCLE, 0, 0);
  }
  for (Word handle : sequence.handles) {
    reinterpret_cast<Function>(closeeventlistreadhandle_ext)(&handle);
    reinterpret_cast<Function>(closealarmlistreadhandle_ext)(&handle);
    reinterpret_cast<Function>(closealarmlistwritehandle_ext)(&handle);
  }
  return 0;
}
