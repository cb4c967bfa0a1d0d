// Sequences of external-function calls over arbitrary structure bytes. Only what the interface demands of its
// caller is repaired: pointers, terminators of bare texts and upper bounds. Handles are live, closed or
// foreign.

#include <vector>

#include "ExternalFunctionTable.h"
#include "Fuzz.h"
#include "IecMemory.h"
#include "fake_platform.h"
#include "tavroline/tavroline.h"

namespace {

using Word = std::uint64_t;
using Function = void (*)(Word*);

// Structures, a character per word. o: a handle comes out; h: one goes in; t u: STRING or BOOL, WSTRING;
// d: stDataType; s: size of a keyword; k g l: keywords, arguments, URL arguments, three of each; #: bounds;
// q: a request; x: its entries, and their number behind; dot: anything.
constexpr const char* kShapes[][2] = {
    {".o", "openeventlistreadhandle_ext openalarmlistreadhandle_ext openalarmlistwritehandle_ext"},
    {"ht", "setlistreadlanguage_ext"},
    {"h.t", "addfilterkeyword_ext clearfilterkeyword_ext"},
    {"q", "geteventlistentries_ext getalarmlistentries_ext"},
    {".tt.duskgl###", "logevent_ext"},
    {"h.tt.duskgl###", "logalarm_ext"},
    {"htt.", "getalarmstatefromalarmhandler_ext"},
    {"suk#", "acknowledgevisualalarm_ext"},
    {"u", "acknowledgecentraldetector_ext"},
    {"h.", ""}};  // all others: every name holds the empty one

/** One sequence of calls, and the handles that it has seen. */
struct Sequence {
  FuzzedDataProvider& input;
  std::vector<Word> handles = {0, 8};
  std::size_t placed = 0;

  void call(const ExternalFunctionEntry& row) {
    const auto* shape = kShapes;
    while (**(*shape + 1) != '\0' && std::strstr((*shape)[1], row.pszName) == nullptr) {
      ++shape;
    }
    placed = 0;
    auto* const words = reinterpret_cast<Word*>(structure((*shape)[0]));
    reinterpret_cast<Function>(row.pfFunction)(words);
    if (words != nullptr && shape == kShapes) {
      handles.push_back(words[1]);
    }
  }

  /** Some bytes of the input, again and again, in front of a guard page; sometimes null. */
  Word place(std::size_t size, std::size_t terminator = 0) {
    static GuardedMemory memory[10];
    char* const bytes = memory[placed++].last<char>(size);
    const std::string some = input.ConsumeBytesAsString(input.ConsumeIntegralInRange<std::size_t>(0, 20));
    for (std::size_t i = 0; i < size && !some.empty(); ++i) {
      bytes[i] = some[i % some.size()];
    }
    std::memset(bytes + size - terminator, 0, terminator);
    return input.ConsumeIntegralInRange(0, 9) == 9 ? 0 : reinterpret_cast<Word>(bytes);
  }

  Word structure(const char* shape) {
    const Word address = place(std::strlen(shape) * sizeof(Word));
    auto* const words = reinterpret_cast<Word*>(address);
    for (std::size_t i = 0; words != nullptr && shape[i] != '\0'; ++i) {
      words[i] = repaired(shape, words, i);
    }
    return address;
  }

  Word repaired(const char* shape, Word* words, std::size_t i) {
    const char kind = shape[i];
    const std::size_t length = input.ConsumeIntegralInRange<std::size_t>(1, 300);
    const __ARRAY__DIM__INFO bounds{static_cast<int>(words[i]), static_cast<int>(words[i] >> 32U)};
    if (kind == '#' && Tavroline::elementCount(bounds) > 3) {
      return Word{2} << 32U;  // 0 to 2
    }
    if (kind == 'h') {
      return handles[length % handles.size()];
    }
    if (kind == 'q') {
      return structure("hx..");
    }
    if (kind == 't') {
      return place(length, 1);
    }
    if (kind == 'u') {
      return place(length * 2, 2);
    }
    if (kind == 'd') {
      return place(sizeof(stDataType));
    }
    if (kind == 'k') {
      return place(3 * (words[std::strcspn(shape, "s")] & 0x7FFF));
    }
    if (kind == 'g') {
      return place(3 * sizeof(stDescriptionArgumentType));
    }
    if (kind == 'l') {
      return place(3 * sizeof(stDescriptionUrlArgumentType));
    }
    if (kind == 'x') {
      words[i + 1] = length % 4;
    }
    return kind == 'x' ? place(words[i + 1] * sizeof(stEventlistEntryType)) : words[i];
  }
};

std::size_t lastFunction() {
  std::size_t row = 0;
  while (ExternalFunctionTable[row + 1].pfFunction != nullptr) {
    ++row;
  }
  return row;
}

}  // namespace

void fuzz::run(FuzzedDataProvider& input) {
  fake::reset();
  for (const char* request : {"getCompleteEventlist", "getCompleteAlarmlist", "getAlarmState"}) {
    fake::answer(request, {{2, {}}, {0, R"({"ListData":[{},{"EventType":3}]})"}});
  }
  Sequence sequence{input};
  for (std::size_t open : {11UL, 12UL, 13UL}) {
    sequence.call(ExternalFunctionTable[open]);
  }
  for (int i = 0; i < 50 && input.remaining_bytes() > 0; ++i) {
    sequence.call(ExternalFunctionTable[input.ConsumeIntegralInRange<std::size_t>(0, lastFunction())]);
  }
  for (Word handle : sequence.handles) {
    for (std::size_t close : {29UL, 30UL, 31UL}) {
      reinterpret_cast<Function>(ExternalFunctionTable[close].pfFunction)(&handle);
    }
  }
}
