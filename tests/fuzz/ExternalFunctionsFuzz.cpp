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
    {".o", " openeventlistreadhandle_ext openalarmlistreadhandle_ext openalarmlistwritehandle_ext "},
    {"h",
     " closeeventlistreadhandle_ext closealarmlistreadhandle_ext closealarmlistwritehandle_ext "
     "resetfilterstatealarm_ext resetfilterstateacknowledge_ext resetlistchanged_ext "
     "resetfiltereventtype_ext resetfiltertime_ext resetfilterall_ext "},
    {"ht", " setlistreadlanguage_ext "},
    {"h.t", " addfilterkeyword_ext clearfilterkeyword_ext "},
    {"q", " geteventlistentries_ext "},
    {"r", " getalarmlistentries_ext "},
    {".tt.duskgl###", " logevent_ext "},
    {"h.tt.duskgl###", " logalarm_ext "},
    {"hbb.", " getalarmstatefromalarmhandler_ext "},
    {"suk#", " acknowledgevisualalarm_ext "},
    {"u", " acknowledgecentraldetector_ext "},
    {".", " deleteeventlist_ext "},
    {"h.", ""},  // all others
};

/** One sequence of calls, and the handles that it has seen. */
class Sequence {
 public:
  explicit Sequence(FuzzedDataProvider& input) : m_input(input) {}
  ~Sequence() {
    for (Word handle : m_handles) {
      reinterpret_cast<Function>(closeeventlistreadhandle_ext)(&handle);
      reinterpret_cast<Function>(closealarmlistreadhandle_ext)(&handle);
      reinterpret_cast<Function>(closealarmlistwritehandle_ext)(&handle);
    }
  }

  void call(const ExternalFunctionEntry& row) {
    const std::string name = std::string(" ") + row.pszName + " ";
    std::size_t i = 0;
    while (*kShapes[i][1] != '\0' && std::strstr(kShapes[i][1], name.c_str()) == nullptr)
      ++i;
    m_placed = 0;
    Word* const words = structure(kShapes[i][0]);
    reinterpret_cast<Function>(row.pfFunction)(words);
    if (words != nullptr && kShapes[i][0][1] == 'o') m_handles.push_back(words[1]);
  }

 private:
  /** Memory in front of a guard page, full of some bytes of the input; sometimes null. */
  Word place(std::size_t size, bool terminated) {
    static fuzz::GuardedMemory memory[10];
    char* const bytes = memory[m_placed++].last<char>(size);
    const std::string some = m_input.ConsumeBytesAsString(m_input.ConsumeIntegralInRange<std::size_t>(0, 20));
    for (std::size_t i = 0; i < size && !some.empty(); ++i)
      bytes[i] = some[i % some.size()];
    if (terminated) std::fill(bytes + size - std::min<std::size_t>(size, 2), bytes + size, '\0');
    return m_input.ConsumeIntegralInRange(0, 9) == 9 ? 0 : reinterpret_cast<Word>(bytes);
  }

  Word* structure(const char* shape) {
    auto* const words = reinterpret_cast<Word*>(place(std::strlen(shape) * sizeof(Word), false));
    for (std::size_t i = 0; words != nullptr && shape[i] != '\0'; ++i)
      words[i] = repaired(shape, words, i);
    return words;
  }

  Word repaired(const char* shape, Word* words, std::size_t i) {
    const char kind = shape[i];
    Word* const bounds = words + std::strcspn(shape, "#");
    if (kind == 'h') return handle(words[i], reinterpret_cast<Word>(words));
    if (kind == 'q') return reinterpret_cast<Word>(structure("hx.."));
    if (kind == 'r') return reinterpret_cast<Word>(structure("hy.."));
    if (kind == 't') return place(m_input.ConsumeIntegralInRange<std::size_t>(1, 300), true);
    if (kind == 'u') return place(m_input.ConsumeIntegralInRange<std::size_t>(1, 300) * 2, true);
    if (kind == 'b') return place(1, false);
    if (kind == 'd') return place(sizeof(stDataType), false);
    if (kind == 'x') return place(capacity(words[i + 1]) * sizeof(stEventlistEntryType), false);
    if (kind == 'y') return place(capacity(words[i + 1]) * sizeof(stAlarmlistEntryType), false);
    if (kind == 'k') return place(elements(bounds[0]) * (words[std::strcspn(shape, "s")] & 0x7FFF), true);
    if (kind == 'g') return place(elements(bounds[1]) * sizeof(stDescriptionArgumentType), false);
    if (kind == 'l') return place(elements(bounds[2]) * sizeof(stDescriptionUrlArgumentType), false);
    return words[i];
  }
  Word handle(Word arbitrary, Word foreign) {
    const auto choice = m_input.ConsumeIntegralInRange<std::size_t>(0, m_handles.size() + 1);
    return choice < m_handles.size() ? m_handles[choice] : choice == m_handles.size() ? arbitrary : foreign;
  }
  static std::size_t capacity(Word& word) {
    auto& entries = reinterpret_cast<RTS_IEC_DINT&>(word);
    entries = std::min(entries, kMostElements);
    return static_cast<std::size_t>(std::max(entries, 0));
  }
  static std::size_t elements(Word& word) {
    auto& bounds = reinterpret_cast<__ARRAY__DIM__INFO&>(word);
    if (elementCount(bounds) > kMostElements) bounds.upper = bounds.lower + kMostElements - 1;
    return static_cast<std::size_t>(elementCount(bounds));
  }

  static constexpr RTS_IEC_DINT kMostElements = 3;
  FuzzedDataProvider& m_input;
  std::size_t m_placed = 0;
  std::vector<Word> m_handles = {0};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr const char* kRequests[] = {"getCompleteEventlist", "getPartOfEventlist",
                                              "getCompleteAlarmlist", "getAlarmState"};
  fake::reset();
  for (const char* request : kRequests) {
    for (int status : {0, 1, 0})
      fake::answer(request, {{2, {}}, {status, R"({"ListData":[{},{"EventType":3}]})"}});
  }
  ComponentInitRecord record{};
  ComponentEntry(&record);
  FuzzedDataProvider input(data, size);
  Sequence sequence(input);
  for (std::size_t row = 11; row < 14; ++row)
    sequence.call(ExternalFunctionTable[row]);  // one handle of each kind
  for (int i = 0; i < 50 && input.remaining_bytes() > 0; ++i) {
    const auto choice = input.ConsumeIntegralInRange<std::size_t>(0, 39);
    if (choice < 38) {
      sequence.call(ExternalFunctionTable[choice]);
    } else if (choice == 38) {
      record.pfHookFunction(TAVROLINE_HOOK_COMM_CYCLE, 0, 0);
    } else {
      fake::fail(input.PickValueInArray(kRequests), fake::Failure::Throw);
    }
  }
  return 0;
}
