#include "MessageQueue.h"

#include <gtest/gtest.h>

#include <QtEndian>
#include <memory>
#include <random>
#include <string>
#include <thread>

#include "EventlistHandlerEnums.h"
#include "MessageFormat.h"
#include "MessageWriter.h"

using namespace Tavroline;

namespace {

/** A message: "+a" turns alarm a on, "-a" turns it off, any other word is an event; `length` makes it longer.
 */
bool submit(MessageQueue& queue, const std::string& word, int length = 0) {
  MessageWriter message;
  const bool edge = word[0] == '+' || word[0] == '-';
  message.entry(edge ? QString::fromStdString(word.substr(1)) : QString(),
                word[0] == '+' ? EventlistHandlerEnums::StateOn : EventlistHandlerEnums::StateOff, 0, 0,
                QString::fromStdString(word), QString(length, QLatin1Char('x')), {}, {}, {}, {});
  return queue.accept(message.bytes());
}

/** The words of the messages in a batch: behind size, kind, alarm (its size first), state, type and time. */
std::vector<std::string> words(const std::vector<char>& bytes) {
  std::vector<std::string> result;
  const auto number = [&bytes](std::size_t at) { return qFromLittleEndian<quint32>(&bytes[at]); };
  for (std::size_t at = 0; at < bytes.size(); at += 4 + number(at)) {
    const std::size_t word = at + 9 + number(at + 5) + 16;
    result.emplace_back(&bytes[word + 4], number(word));
  }
  return result;
}

/** Sends everything. @return the words, each with a blank before it */
std::string deliver(MessageQueue& queue) {
  std::string sent;
  std::vector<char> bytes;
  while (queue.hasPending()) {
    const auto batch = queue.read(bytes, MessageFormat::kMaxBatchMessages);
    for (const std::string& word : words(bytes)) {
      sent += " " + word;
    }
    queue.confirm(batch.first + quint64(batch.count) - 1, {}, [](const AlarmEdge&, bool) {});
  }
  return sent;
}

class MessageQueueTest : public testing::Test {
 protected:
  /** Fills the queue; two messages are refused. */
  quint64 fill() {
    while (submit(*queue, "f", 4000)) {
    }
    while (submit(*queue, "f")) {
    }
    return queue->counters().accepted;
  }
  std::unique_ptr<MessageQueue> queue = std::make_unique<MessageQueue>();
};

TEST_F(MessageQueueTest, WhatAFullQueueAcceptsKeepsItsOrder) {
  const struct {
    const char* name;
    std::string submitted;  ///< "." confirms one message
    std::string sent;
    quint64 superseded, refused;
  } rows[] = {
      {"only edges", "+a e -b", "+a -b", 0, 1},
      {"two edges of an alarm", "+a +b -a e -b", "+a +b -a -b", 0, 1},
      {"on again", "+a -a +a", "+a", 2, 0},
      {"off again", "+a -a +a +b -a", "+a +b -a", 2, 0},
      {"on twice, off", "+a +a -a", "+a -a", 1, 0},
      {"room behind edges", "+a . e -a", "+a -a", 0, 1},
      {"room", ". e", "e", 0, 0},
  };
  for (const auto& row : rows) {
    queue = std::make_unique<MessageQueue>();
    fill();
    std::istringstream submitted(row.submitted);
    for (std::string word; submitted >> word;) {
      std::vector<char> bytes;
      if (word == ".") {
        queue->confirm(queue->read(bytes, 1).first, {}, [](const AlarmEdge&, bool) {});
      } else {
        submit(*queue, word);
      }
    }
    const std::string sent = deliver(*queue);
    EXPECT_EQ(sent.substr(sent.rfind("f ") + 2), row.sent) << row.name;
    const MessageCounters counters = queue->counters();
    EXPECT_EQ(counters.superseded, row.superseded) << row.name;
    EXPECT_EQ(counters.count(Loss::QueueFull), row.refused + 2) << row.name;
    EXPECT_EQ(counters.accepted, counters.delivered + counters.superseded) << row.name;
  }
}

TEST_F(MessageQueueTest, HoldsSoManyUsualMessagesAndAlarms) {
  constexpr int kRest = 50;  // of a message besides the text
  for (std::size_t i = 0; i < MessageRing::kUsualMessages; ++i) {
    ASSERT_TRUE(submit(*queue, "f", MessageRing::kUsualBytes - kRest)) << i;
  }
  EXPECT_FALSE(submit(*queue, "f"));
  std::vector<char> bytes;
  queue->confirm(queue->read(bytes, 1).first, {}, [](const AlarmEdge&, bool) {});
  EXPECT_TRUE(submit(*queue, "f", MessageRing::kUsualBytes - kRest)) << "across the end of the ring";
  EXPECT_FALSE(submit(*queue, "f"));
  for (std::size_t i = 0; i < AlarmOverflow::kAlarms; ++i) {
    ASSERT_TRUE(submit(*queue, "+" + std::to_string(i))) << i;
  }
  EXPECT_FALSE(submit(*queue, "+one too many"));
  EXPECT_TRUE(submit(*queue, "-0"));
  EXPECT_EQ(queue->handedOver(), queue->counters().pending + 1);
  EXPECT_LE(sizeof *queue, (8U << 20U) * 105 / 100);
}

TEST_F(MessageQueueTest, AtUnloadEdgesOfAlarmsThatTurnOffAreKept) {
  for (const bool full : {false, true}) {
    queue = std::make_unique<MessageQueue>();
    std::vector<char> bytes;
    submit(*queue, "+given");
    queue->read(bytes, 1);
    const quint64 fillers = full ? fill() - 1 : 0;
    for (const char* word : {"+a", "+b", "-a", "-c", "-given"}) {
      submit(*queue, word);
    }
    queue->goBack();
    queue->keepOffEdges();
    EXPECT_EQ(deliver(*queue), " +given +a -a -c -given") << full;
    EXPECT_EQ(queue->counters().count(Loss::Unload), fillers + 1) << full;
    const Gap gap = queue->takeGaps(Clock::now(), true).at(static_cast<std::size_t>(Loss::Unload));
    EXPECT_EQ(gap.firstNumber, 6) << "after those of the five others";
    EXPECT_EQ(gap.lastNumber, 6 + fillers) << full;
  }
}

TEST_F(MessageQueueTest, EachMessageHasOneNumberAndStaysUntilItIsConfirmed) {
  constexpr int kMessages = 40000;
  std::thread task([this] {
    std::mt19937 random(2);
    for (int number = 1; number <= kMessages; ++number) {
      while (!submit(*queue, std::to_string(number), static_cast<int>(random() % 4000))) {
        std::this_thread::yield();
      }
    }
  });
  std::mt19937 random(1);
  while (queue->confirmed() < kMessages) {
    std::vector<char> bytes;
    const auto batch = queue->read(bytes, 1 + random() % 300);
    const auto texts = words(bytes);
    ASSERT_EQ(texts.size(), static_cast<std::size_t>(batch.count));
    for (std::size_t i = 0; i < texts.size(); ++i) {
      ASSERT_EQ(texts[i], std::to_string(batch.first + i));
    }
    if (random() % 4 == 0) {
      queue->goBack();
    } else {
      queue->confirm(batch.first + random() % 300, {}, [](const AlarmEdge&, bool) {});
    }
  }
  task.join();
  EXPECT_EQ(queue->counters().delivered, quint64{kMessages});
}

}  // namespace
