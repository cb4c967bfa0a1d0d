#include "TavrolineReadBaseClass.h"

#include "UnitSupport.h"

namespace {

// The load protocol, through the external functions of both lists.
struct TavrolineReadBaseClassTest : ReaderTest {
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
INSTANTIATE_TEST_SUITE_P(Of, TavrolineReadBaseClassTest, testing::Values(&kEventKind, &kAlarmKind));

TEST_P(TavrolineReadBaseClassTest, TakesOneStepPerCallAndIsIdleAndFreeAfterwards) {
  const fake::Answer outstanding{2, {}};
  const char busError[] =
      "TavrolineReadBaseClass: int16_t TavrolineReadBaseClass::getStatusReadListAsynchron("
      "DBusPendingReply::SharedPointer&): getStatusReadListAsynchron: DBus error:|gone";
  const struct {
    const char* name;
    std::vector<fake::Answer> answers;
    std::vector<int> results;
    int count;  ///< of entries afterwards
    Lines records;
  } rows[] = {{"list", {outstanding, outstanding, {0, R"({"ListData":[{}]})"}}, {1, 1, 0}, 1, {}},
              {"at once, yet in two calls", {{0, "{}"}}, {1, 0}, 0, {}},
              {"no JSON", {{0, "garbage"}}, {1, 0}, 0, {}},
              {"an array", {{0, "[1]"}}, {1, 0}, 0, {}},
              {"no list", {{0, R"({"ListData":5})"}}, {1, 0}, 0, {}},
              {"no reply", {}, {2}, 2, {requestRecord("DBusPendingReply nullpointer")}},
              {"failed at once", {{1, "gone"}}, {2}, 2, {requestRecord("DBus access error")}},
              {"failed later", {outstanding, {1, "gone"}}, {1, 2}, 2, {busError}},
              {"another status, kept at first", {{7, "gone"}}, {1, 2}, 2, {busError}}};
  for (const auto& [name, answers, results, count, expected] : rows) {
    SCOPED_TRACE(name);
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

TEST_P(TavrolineReadBaseClassTest, LetsAWaitingReaderTakeOverAfterMoreThanFiveSeconds) {
  const Reader owner(kind);
  const Reader waiting(kind);
  fake::answer(kind.request(), {{2, {}}, {2, {}}, {0, "{}"}});
  const struct {
    const char* name;
    int milliseconds;  ///< passed before the call
    const Reader& reader;
    int result;
    std::size_t takeovers, requests;  ///< since the start
  } steps[] = {{"the owner's request", 0, owner, 1, 0, 1},
               {"not yet more than 5 s", 5000, waiting, 1, 0, 1},
               {"an owner's poll restarts the time", 0, owner, 1, 0, 1},
               {"a waiting call does not", 3000, waiting, 1, 0, 1},
               {"5 s again", 2000, waiting, 1, 0, 1},
               {"the takeover issues no request", 1, waiting, 1, 1, 1},
               {"the next call does", 0, waiting, 1, 1, 2},
               {"the old owner completes its own", 0, owner, 0, 1, 2}};
  for (const auto& step : steps) {
    SCOPED_TRACE(step.name);
    advanceMonotonicClock(step.milliseconds);
    EXPECT_EQ(step.reader.load(), step.result);
    EXPECT_EQ(messages().size(), step.takeovers);
    EXPECT_EQ(requests(), step.requests);
  }
  EXPECT_EQ(messages(),
            Lines{"qDebug: TavrolineReadBaseClass: int16_t TavrolineReadBaseClass::loadCompleteList("
                  "bool&, QElapsedTimer&, uint16_t): Load list timeout (5 sec timeout time)"});
}

}  // namespace
