#include "TavrolineReadBaseClass.h"

#include "UnitSupport.h"

namespace {

// The load protocol, through the external functions of both lists.
struct LoadProtocol : ReaderTest {
  std::size_t requests() const { return fake::calls(kind.request()).size(); }
  std::string requestRecord(const char* text) const {
    return kind.className() + ": virtual int16_t " + kind.className() +
           "::readListAsynchron(uint16_t): loadComplete" + kind.list + ": " + text;
  }
  /** That the interface is free and the reader idle shows in the next requests; a close frees it as well. */
  void expectFreeAndIdle(const Reader& reader) const {
    const std::size_t before = requests();
    EXPECT_EQ(Reader(kind).load(), TAVROLINE_BUSY);
    EXPECT_EQ(requests(), before + 1);
    EXPECT_EQ(reader.load(), TAVROLINE_BUSY);
    EXPECT_EQ(requests(), before + 2);
  }
};
INSTANTIATE_TEST_SUITE_P(Of, LoadProtocol, testing::Values(&kEventKind, &kAlarmKind));

TEST_P(LoadProtocol, TakesOneStepPerCallAndIsIdleAndFreeAfterwards) {
  const fake::Answer outstanding{2, {}};
  const char busError[] =
      "TavrolineReadBaseClass: int16_t TavrolineReadBaseClass::getStatusReadListAsynchron("
      "DBusPendingReply::SharedPointer&): getStatusReadListAsynchron: DBus error:|gone";
  // answers, results, entries afterwards, records
  const std::tuple<std::vector<fake::Answer>, std::vector<int>, int, Lines> rows[] = {
      {{outstanding, outstanding, {0, R"({"ListData":[{}]})"}}, {1, 1, 0}, 1, {}},
      {{{0, "{}"}}, {1, 0}, 0, {}},  // there at once, yet issue and poll are two calls
      {{{0, "garbage"}}, {1, 0}, 0, {}},
      {{{0, "[1]"}}, {1, 0}, 0, {}},
      {{{0, R"({"ListData":5})"}}, {1, 0}, 0, {}},
      {{}, {2}, 2, {requestRecord("DBusPendingReply nullpointer")}},  // no request
      {{{1, "gone"}}, {2}, 2, {requestRecord("DBus access error")}},
      {{outstanding, {1, "gone"}}, {1, 2}, 2, {busError}},
      {{{7, "gone"}}, {1, 2}, 2, {busError}}};  // any status but 1 is kept at first
  for (const auto& [answers, results, count, expected] : rows) {
    fake::reset();
    const Reader reader(kind);
    reader.load("[{},{}]");
    call<setlistreadlanguage_ext>(reader.handle, answers.empty() ? nullptr : "dä");
    fake::answer(kind.request(), answers);
    for (const int result : results) {
      EXPECT_EQ(reader.count(), 2) << "the old list stays until the new one is there";
      EXPECT_EQ(reader.load(), result);
    }
    EXPECT_EQ(reader.count(), count);
    EXPECT_EQ(requests(), 2U);
    EXPECT_EQ(fake::calls(kind.request()).at(1).arguments, QVariantList{answers.empty() ? ""_q : "dä"_q});
    EXPECT_EQ(records(), expected);
    expectFreeAndIdle(reader);
  }
}

TEST_P(LoadProtocol, LetsAWaitingReaderTakeOverAfterMoreThanFiveSeconds) {
  const Reader owner(kind);
  const Reader waiting(kind);
  fake::answer(kind.request(), {{2, {}}, {2, {}}, {0, "{}"}});
  // milliseconds passed, whose call, its result, messages and requests since the start
  const std::tuple<int, const Reader*, int, std::size_t, std::size_t> steps[] = {
      {0, &owner, 1, 0, 1},      {5000, &waiting, 1, 0, 1},
      {0, &owner, 1, 0, 1},                               // an owner that polls starts the time anew
      {3000, &waiting, 1, 0, 1},                          // one that waits does not
      {2000, &waiting, 1, 0, 1}, {1, &waiting, 1, 1, 1},  // the call that takes over issues nothing
      {0, &waiting, 1, 1, 2},    {0, &owner, 0, 1, 2}};   // the old owner still completes its own request
  for (const auto& [time, reader, result, told, requested] : steps) {
    advanceMonotonicClock(time);
    EXPECT_EQ(reader->load(), result);
    EXPECT_EQ(messages().size(), told);
    EXPECT_EQ(requests(), requested);
  }
  EXPECT_EQ(messages(),
            Lines{"qDebug: TavrolineReadBaseClass: int16_t TavrolineReadBaseClass::loadCompleteList("
                  "bool&, QElapsedTimer&, uint16_t): Load list timeout (5 sec timeout time)"});
}

}  // namespace
