// Sequences of external-function calls over arbitrary structure bytes. Only what the interface demands of its
// caller is repaired: pointers, terminators of bare texts and upper bounds. Handles are live, closed or
// foreign.

#include <vector>

#include "ExternalFunctionRows.h"
#include "Fuzz.h"
#include "IecMemory.h"
#include "fake_platform.h"
#include "tavroline/tavroline.h"

namespace {

using namespace external;
using Word = std::uint64_t;

/** One sequence of calls, and the handles that it has seen. */
struct Sequence {
  FuzzedDataProvider& input;
  std::vector<Word> handles = {0, 8};
  const Row* row = nullptr;  ///< of the function that is called
  std::size_t placed = 0;    ///< blocks of memory
  std::size_t keywordSize = 0;

  void call(const ExternalFunctionEntry& entry) {
    placed = 0;
    row = &rowOf(entry.pszName);
    auto* const words =
        reinterpret_cast<Word*>(structure(row->hasRequest() ? std::vector<Field>{Request} : row->fields));
    external::call(entry, words);
    if (words != nullptr && row->fields.back() == NewHandle) {
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

  Word structure(const std::vector<Field>& fields) {
    const Word address = place(fields.size() * sizeof(Word));
    auto* const words = reinterpret_cast<Word*>(address);
    for (std::size_t i = 0; words != nullptr && i < fields.size(); ++i) {
      words[i] = repaired(fields[i], words, i);
    }
    return address;
  }

  /** The word at that index as a caller may pass it for the field. */
  Word repaired(Field field, Word* words, std::size_t index) {
    const std::size_t length = input.ConsumeIntegralInRange<std::size_t>(1, 300);
    const __ARRAY__DIM__INFO bounds{static_cast<int>(words[index]), static_cast<int>(words[index] >> 32U)};
    switch (field) {
      case Handle:
        return handles[length % handles.size()];
      case Request:
        return structure(row->fields);
      case Text:
      case Flag:
        return place(length, 1);
      case WideText:
        return place(length * 2, 2);
      case Data:
        return place(sizeof(stDataType));
      case Size:
        keywordSize = words[index] & 0x7FFF;
        return words[index];
      case Keywords:
        return place(3 * keywordSize);
      case Arguments:
        return place(3 * sizeof(stDescriptionArgumentType));
      case UrlArguments:
        return place(3 * sizeof(stDescriptionUrlArgumentType));
      case Bounds:
        return Tavroline::elementCount(bounds) > 3 ? Word{2} << 32U : words[index];  // 0 to 2
      case Entries:
        words[index + 1] = length % 4;
        return place(words[index + 1] * sizeof(stEventlistEntryType));
      default:
        return words[index];
    }
  }
};

}  // namespace

void fuzz::run(FuzzedDataProvider& input) {
  fake::reset();
  for (const char* request : {"getCompleteEventlist", "getCompleteAlarmlist", "getAlarmState"}) {
    fake::answer(request, {{2, {}}, {0, R"({"ListData":[{},{"EventType":3}]})"}});
  }
  Sequence sequence{input};
  for (const ExternalFunctionEntry& open : functions("open")) {
    sequence.call(open);
  }
  const std::vector<ExternalFunctionEntry> all = functions("");
  for (int i = 0; i < 50 && input.remaining_bytes() > 0; ++i) {
    sequence.call(all[input.ConsumeIntegralInRange<std::size_t>(0, all.size() - 1)]);
  }
  for (Word handle : sequence.handles) {
    for (const ExternalFunctionEntry& close : functions("close")) {
      external::call(close, &handle);
    }
  }
}
