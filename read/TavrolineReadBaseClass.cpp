#include "TavrolineReadBaseClass.h"

#include <QJsonDocument>
#include <QMessageLogger>

#include <sys/mman.h>

#include <new>
#include <string_view>

#include "ErrorContainer.h"
#include "EventlistHandlerDefinitions.h"
#include "RuntimeLog.h"
#include "Synchronization.h"

using namespace Tavroline;

namespace {

constexpr char kFile[] = "TavrolineReadBaseClass";
constexpr char kStatusFunction[] =
    "int16_t TavrolineReadBaseClass::getStatusReadListAsynchron(DBusPendingReply::SharedPointer&)";
constexpr qint64 kTakeoverMilliseconds = 5001;

/** QJsonDocument drops a byte order mark at the head of a text unless it is escaped. */
QByteArray withEscapedMarks(QByteArray json) {
  // QByteArray::contains() adds 12 to 20 % to a load, this search at most 3 %.
  const std::string_view text(json.constData(), static_cast<std::size_t>(json.size()));
  if (text.find("\xEF\xBB\xBF") != std::string_view::npos) {
    json.replace("\"\xEF\xBB\xBF", "\"\\uFEFF");
  }
  return json;
}

/** Throws std::bad_alloc if the address space has no room for the parsed list. Qt's parser itself ends the
 * process when an allocation fails. */
void checkRoomToParse(const QByteArray& json) {
  // A parsed entry takes 3 to 4 times the size of its text; the factor leaves room for other tasks meanwhile.
  constexpr std::size_t kParsedPerByte = 8;
  const std::size_t size = kParsedPerByte * (static_cast<std::size_t>(json.size()) + 1);
  // The mapping cannot be accessed, so it takes no memory, also under mlockall().
  void* const room = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (room == MAP_FAILED) {
    throw std::bad_alloc();
  }
  munmap(room, size);
}

/** Frees the interface at the end of a poll, also after an exception, unless the request is outstanding. */
class InterfaceRelease {
 public:
  InterfaceRelease(bool& interfaceReady, std::int32_t& readState)
      : m_interfaceReady(interfaceReady), m_readState(readState) {}
  ~InterfaceRelease() {
    if (!m_outstanding) {
      m_interfaceReady = true;
      m_readState = TavrolineReadBaseClass::ReadStateIdle;
    }
  }
  InterfaceRelease(const InterfaceRelease&) = delete;
  InterfaceRelease& operator=(const InterfaceRelease&) = delete;
  void keepIf(bool outstanding) { m_outstanding = outstanding; }

 private:
  bool& m_interfaceReady;
  std::int32_t& m_readState;
  bool m_outstanding = false;
};

}  // namespace

TavrolineReadBaseClass::~TavrolineReadBaseClass() = default;

void TavrolineReadBaseClass::setLanguage(const QString& language) {
  replaceShared(m_sLanguage, language);
}

void TavrolineReadBaseClass::resetListChanged() {
  SharedFlag::store(m_bListChanged, false);
}

std::int16_t TavrolineReadBaseClass::readListAsynchron(std::uint16_t /*n*/) {
  RuntimeLog::write(kFile, "virtual int16_t TavrolineReadBaseClass::readListAsynchron(uint16_t)",
                    QStringLiteral("Function readListAsynchron is not override"));
  return ResultError;
}

std::int16_t TavrolineReadBaseClass::getStatusReadListAsynchron(DBusPendingReply::SharedPointer& reply) {
  if (!reply) {
    RuntimeLog::write(kFile, kStatusFunction,
                      QStringLiteral("getStatusReadListAsynchron: DBusPendingReply nullpointer"));
    return ResultError;
  }
  ErrorContainer error(ErrorContainer::getErrorCodeNoError(), QString());
  switch (reply->isFinished(error)) {
    case ReplyArrived: {
      const QByteArray json = withEscapedMarks(reply->getReply().toByteArray());
      checkRoomToParse(json);
      m_ListData = QJsonDocument::fromJson(json)
                       .object()
                       .value(EventlistHandlerDefinitions::getListDataName())
                       .toArray();
      reply.reset();
      return ResultDone;
    }
    case ReplyOutstanding:
      return ResultBusy;
    default:
      RuntimeLog::write(kFile, kStatusFunction, QStringLiteral("getStatusReadListAsynchron: DBus error:"),
                        error.getErrorMessage());
      return ResultError;
  }
}

std::int16_t TavrolineReadBaseClass::loadCompleteList(bool& bInterfaceReady, QElapsedTimer& timer,
                                                      std::uint16_t n) {
  if (!bInterfaceReady && m_ReadState == ReadStateIdle) {
    if (timer.elapsed() >= kTakeoverMilliseconds) {
      QMessageLogger(kFile, __LINE__,
                     "int16_t TavrolineReadBaseClass::loadCompleteList(bool&, QElapsedTimer&, uint16_t)")
          .debug("Load list timeout (5 sec timeout time)");
      bInterfaceReady = true;
      m_PendingReply.reset();
    }
    return ResultBusy;
  }
  timer.start();  // not restart(), which needs a timer that has been started before
  if (m_ReadState == ReadStateIdle) {
    const std::int16_t result = readListAsynchron(n);
    if (result == ResultBusy) {
      bInterfaceReady = false;
      m_ReadState = ReadStatePending;
    }
    return result;
  }
  InterfaceRelease release(bInterfaceReady, m_ReadState);
  const std::int16_t result = getStatusReadListAsynchron(m_PendingReply);
  release.keepIf(result == ResultBusy);
  return result;
}
