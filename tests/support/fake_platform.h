#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantList>

#include <functional>
#include <string>
#include <vector>

/**
 * The device's classes for unit tests: each call of the component and each Qt message goes into
 * one ordered log, and what they answer is scripted. Texts, times, hash and vocabulary are the real ones; the
 * unit tests also record the calls of the text and time helpers. An operation has its method's name. A call
 * that is not scripted succeeds: a request's reply stays outstanding, a flag answers false, a hand-over is
 * accepted. For one thread at a time.
 */
namespace fake {

/**
 * One entry of the log. `arguments` are those of the operation, in order. After them comes what its object
 * was constructed with: the object name of the event client; for the other clients whether the device's bus
 * was asked for, except for the requests for a list.
 *  - "copyCStringDataToQString" and the other text helpers: the text, then length or capacity, then the flag;
 * object: source or target in IEC memory
 *  - "QDateTimeToIECUtcDateTime" and the other time helpers: the value to convert
 *  - "CodesysLog": logger is null, componentId, class, error, info, component, file, function, line, item
 * list
 *  - "qDebug", "qWarning": text, category, file, function, line
 */
struct Call {
  std::string operation;
  QVariantList arguments;
  const void* object;
};

/** One answer of isFinished(): 0 with the reply's bytes, 2, or any other status with an error text. */
struct Answer {
  int status;
  QByteArray data;
};

/** Forget the log and all scripts, and take Qt's messages from now on. */
void reset();

/** The log, or what it holds of one operation. */
std::vector<Call> calls(const std::string& operation = std::string());

/** The next reply to `operation` gives these answers one after another and repeats the last; {}: no reply.
 * The next changedFlag… call of that name reports a change, to whether the status is not 0. */
void answer(const std::string& operation, const std::vector<Answer>& answers);

/**
 * Calls `observe` with the number of each platform call from now on; what it throws, the call throws. An
 * empty function ends that, and so does reset(). Platform calls are the operations that are recorded, a log
 * record's construction and each of its items, and, where the executable is built for it, every function of
 * the real helpers.
 */
void atEachCall(std::function<void(int call)> observe);

/** Platform functions that a test brings along call these: for atEachCall(), and for the log. */
void platformCall();
void record(const std::string& operation, const QVariantList& arguments, const void* object);

}  // namespace fake
