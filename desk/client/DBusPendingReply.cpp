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
  object.release();  // NOLINT(bugprone-unused-return-value): `pointer` owns the object
  return pointer;
}

}  // namespace

DBusPendingReply::DBusPendingReply(const QSharedPointer<Private>& state) : m_state(state) {}

DBusPendingReply::~DBusPendingReply() = default;

int DBusPendingReply::isFinished(ErrorContainer& error) {
  m_state->update();
  if (m_state->status == Private::Slot::Failed) {
    error = ErrorContainer(kErrorCode, QString::fromUtf8(m_state->cause.data()));
  }
  return static_cast<int>(m_state->status);
}

QVariant DBusPendingReply::getReply() {
  m_state->update();
  return m_state->status == Private::Slot::Arrived ? QVariant(m_state->reply) : QVariant();
}

DBusPendingReply::Private::~Private() {
  if (slot != nullptr) {
    slot->release(ticket);
  }
}

void DBusPendingReply::Private::update() noexcept {
  if (slot != nullptr) {
    status = slot->take(ticket, reply, cause);
    slot = status == Slot::Outstanding ? slot : nullptr;
  }
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
