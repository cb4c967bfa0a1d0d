#include "DBusPendingReply.h"

#include <new>

#include "PendingReply.h"

namespace {
constexpr int kErrorCode = 1;
}

DBusPendingReply::DBusPendingReply(const QSharedPointer<Private>& state) : m_state(state) {}

DBusPendingReply::~DBusPendingReply() {
  m_state->release();
}

int DBusPendingReply::isFinished(ErrorContainer& error) {
  const Private::Status status = m_state->status();
  if (status == Private::Failed) {
    error = ErrorContainer(kErrorCode, m_state->cause());
  }
  return status;
}

QVariant DBusPendingReply::getReply() {
  return m_state->status() == Private::Arrived ? QVariant(m_state->reply()) : QVariant();
}

DBusPendingReply::SharedPointer DBusPendingReply::Private::failed(const QString& cause) noexcept {
  try {
    const auto state = QSharedPointer<Private>::create();
    state->fail(cause);
    return SharedPointer::create(state);
  } catch (const std::bad_alloc&) {
    return {};
  }
}
