#include "DBusPendingReply.h"

#include <new>

#include "RequestSlot.h"

namespace {

constexpr int kErrorCode = 1;

// QSharedPointer::create() is not used: if its allocation fails, it destroys an object that it has not
// constructed.
template <typename Object>
QSharedPointer<Object> shared(std::unique_ptr<Object> object) {
  QSharedPointer<Object> pointer(object.get());
  object.release();  // NOLINT(bugprone-unused-return-value): `pointer` owns it
  return pointer;
}

}  // namespace

DBusPendingReply::DBusPendingReply(const QSharedPointer<Private>& state) : m_state(state) {}

DBusPendingReply::~DBusPendingReply() = default;

int DBusPendingReply::isFinished(ErrorContainer& error) {
  const int status = m_state->status();
  if (status == 1) {
    error = ErrorContainer(kErrorCode, QString::fromUtf8(m_state->cause()));
  }
  return status;
}

QVariant DBusPendingReply::getReply() {
  return m_state->status() == 0 ? QVariant(m_state->reply()) : QVariant();
}

DBusPendingReply::Private::~Private() {
  if (m_slot != nullptr) {
    m_slot->release(m_ticket);
  }
}

int DBusPendingReply::Private::status() {
  if (m_slot != nullptr) {
    m_status = m_slot->take(m_ticket, m_reply, m_cause);
    m_slot = m_status == Slot::Outstanding ? m_slot : nullptr;
  }
  return static_cast<int>(m_status);
}

DBusPendingReply::SharedPointer DBusPendingReply::Private::share(std::unique_ptr<Private> state) {
  return shared(std::make_unique<DBusPendingReply>(shared(std::move(state))));
}

DBusPendingReply::SharedPointer DBusPendingReply::Private::failed(const char* cause) noexcept {
  try {
    return share(std::make_unique<Private>(cause));
  } catch (const std::bad_alloc&) {
    return {};
  }
}
