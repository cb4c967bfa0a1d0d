#include "TavrolineReadBaseClass.h"

#include "TestClock.h"
#include "UnitSupport.h"

namespace {

using fake::Answer;
using Lines = std::vector<std::string>;

// The load protocol, through the external functions of both lists.
class LoadProtocol : public ReaderTest {
 protected:
  std::size_t requests() { return fake::calls(kind().request).size(); }
  std::string requestRecord(const char* text) {
    return kind().className() + ": virtual int16_t " + kind().className() +
           "::readListAsynchron(uint16_t): loadComplete" + kind().list + ": " + text;
  }
};
INSTANTIATE_FOR_BOTH_KINDS(LoadProtocol);

constexpr char kStatusFunction[] =
    "TavrolineReadBaseClass: int16_t "
    "TavrolineReadBaseClass::getStatusReadListAsynchron(DBusPendingReply::SharedPointer&): ";

struct SequenceRow {
  const char* name;
  std::vector<Answer> answers;
  std::vector<int> results;
  const char* statusRecord;   // of the status query, null for none
  const char* requestRecord;  // of the request, null for none
};

const SequenceRow kSequences[] = {
    {"arrives after a while", {{2, {}}, {2, {}}, {0, "{}"}}, {1, 1, 0}, nullptr, nullptr},
    {"is there at once, yet issue and poll are two calls", {{0, "{}"}}, {1, 0}, nullptr, nullptr},
    {"fails at once", {{1, "refused"}}, {2}, nullptr, "DBus access error"},
    {"fails later", {{2, {}}, {1, "gone"}}, {1, 2}, "getStatusReadListAsynchron: DBus error:|gone", nullptr},
    {"any status but 1 is kept at first",
     {{7, "odd"}},
     {1, 2},
     "getStatusReadListAsynchron: DBus error:|odd",
     nullptr},
};

TEST_P(LoadProtocol, TakesOneStepPerCallAndIsIdleAgainAfterwards) {
  for (const SequenceRow& row : kSequences) {
    SCOPED_TRACE(row.name);
    fake::reset();
    Reader reader(kind());
    Reader other(kind());
    fake::answer(kind().request, row.answers);
    for (const int result : row.results)
      EXPECT_EQ(reader.load(), result);
    EXPECT_EQ(requests(), 1U);
    Lines expected;
    if (row.statusRecord != nullptr) expected.push_back(std::string(kStatusFunction) + row.statusRecord);
    if (row.requestRecord != nullptr) expected.push_back(requestRecord(row.requestRecord));
    EXPECT_EQ(records(), expected);
    EXPECT_EQ(other.load(), 1) << "the interface is free";
    EXPECT_EQ(requests(), 2U);
    other.close();
    EXPECT_EQ(reader.load(), 1) << "and the reader idle";
    EXPECT_EQ(requests(), 3U);
  }
}

TEST_P(LoadProtocol, ReportsARequestThatCouldNotBeMade) {
  Reader reader(kind());
  fake::fail(kind().request, fake::Failure::Refuse);
  EXPECT_EQ(reader.load(), TAVROLINE_ERROR);
  EXPECT_EQ(records(), Lines{requestRecord("DBusPendingReply nullpointer")});
  EXPECT_EQ(reader.load(), TAVROLINE_BUSY);
}

TEST_P(LoadProtocol, KeepsTheListOnFailureAndEmptiesItForAReplyThatIsNoList) {
  const Answer answers[] = {{1, "gone"}, {0, "garbage"}, {0, "[1]"}, {0, R"({"ListData":5})"}, {0, "{}"}};
  for (const Answer& answer : answers) {
    SCOPED_TRACE(answer.data.constData());
    Reader reader(kind());
    reader.load("[{},{}]");
    fake::answer(kind().request, {{2, {}}, answer});
    EXPECT_EQ(reader.load(), TAVROLINE_BUSY);
    EXPECT_EQ(reader.count(), 2) << "the old list stays until the new one is there";
    EXPECT_EQ(reader.load(), answer.status == 0 ? TAVROLINE_DONE : TAVROLINE_ERROR);
    EXPECT_EQ(reader.count(), answer.status == 0 ? 0 : 2);
  }
}

TEST_P(LoadProtocol, LetsAWaitingReaderTakeOverAfterMoreThanFiveSeconds) {
  Reader owner(kind());
  Reader waiting(kind());
  fake::answer(kind().request, {{2, {}}, {2, {}}, {0, "{}"}});
  EXPECT_EQ(owner.load(), 1);
  advanceMonotonicClock(5000);
  EXPECT_EQ(waiting.load(), 1);
  EXPECT_EQ(owner.load(), 1) << "an owner that polls starts the time anew";
  advanceMonotonicClock(3000);
  EXPECT_EQ(waiting.load(), 1) << "one that waits does not";
  advanceMonotonicClock(2000);
  EXPECT_EQ(waiting.load(), 1);
  EXPECT_EQ(messages(), Lines{});
  advanceMonotonicClock(1);
  EXPECT_EQ(waiting.load(), 1);
  EXPECT_EQ(messages(), Lines{"qDebug: TavrolineReadBaseClass: int16_t "
                              "TavrolineReadBaseClass::loadCompleteList(bool&, QElapsedTimer&, uint16_t): "
                              "Load list timeout (5 sec timeout time)"});
  EXPECT_EQ(requests(), 1U) << "the call that takes over issues nothing";
  EXPECT_EQ(waiting.load(), 1);
  EXPECT_EQ(requests(), 2U);
  EXPECT_EQ(owner.load(), 0) << "the old owner still completes its own request";
}

TEST_P(LoadProtocol, FreesTheInterfaceWhenTheOwnerIsClosed) {
  Reader owner(kind());
  Reader waiting(kind());
  EXPECT_EQ(owner.load(), 1);
  owner.close();
  EXPECT_EQ(fake::calls("~DBusPendingReply").size(), 1U);
  EXPECT_EQ(waiting.load(), 1);
  EXPECT_EQ(requests(), 2U);
}

TEST_P(LoadProtocol, RequestsInTheLanguageThatWasSetLast) {
  Reader reader(kind());
  setlistreadlanguage_struct german{reader.handle(), "dä"};
  setlistreadlanguage_ext(&german);
  reader.load("[]");
  setlistreadlanguage_struct none{reader.handle(), nullptr};
  setlistreadlanguage_ext(&none);
  reader.load("[]");
  EXPECT_EQ(fake::calls(kind().request)[0].arguments, QVariantList{"dä"_q});
  EXPECT_EQ(fake::calls(kind().request)[1].arguments, QVariantList{""_q});
}

TEST_P(LoadProtocol, SurvivesAnExceptionIdleAndWithAFreeInterface) {
  for (const std::string& operation : {kind().request, std::string("isFinished"), std::string("getReply")}) {
    SCOPED_TRACE(operation);
    fake::reset();
    Reader reader(kind());
    Reader other(kind());
    fake::answer(kind().request, {{0, "{}"}});
    if (operation == "getReply") {
      EXPECT_EQ(reader.load(), 1);
    }
    fake::fail(operation, fake::Failure::Throw);
    EXPECT_EQ(reader.load(), TAVROLINE_ERROR);
    EXPECT_EQ(records().size(), 1U);
    EXPECT_EQ(other.load(), TAVROLINE_BUSY);
    EXPECT_EQ(requests(), 2U);
    other.close();
    EXPECT_EQ(reader.load(), TAVROLINE_BUSY);
    EXPECT_EQ(requests(), 3U);
  }
}

TEST_F(ComponentTest, ABaseClassReaderHasNoRequestOfItsOwn) {
  EXPECT_EQ(TavrolineReadBaseClass().readListAsynchron(0), TAVROLINE_ERROR);
  EXPECT_EQ(records(),
            Lines{"TavrolineReadBaseClass: virtual int16_t "
                  "TavrolineReadBaseClass::readListAsynchron(uint16_t): Function readListAsynchron "
                  "is not override"});
  DBusPendingReply::SharedPointer none;
  EXPECT_EQ(TavrolineReadBaseClass().getStatusReadListAsynchron(none), TAVROLINE_ERROR);
  EXPECT_EQ(records().back(),
            std::string(kStatusFunction) + "getStatusReadListAsynchron: DBusPendingReply nullpointer");
}

}  // namespace
