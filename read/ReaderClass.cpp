#include "ReaderClass.h"

#include "ErrorContainer.h"

std::int16_t ReaderClass::adoptReply(const DBusPendingReply::SharedPointer& reply,
                                     DBusPendingReply::SharedPointer& pendingReply, const Names& names) {
  if (!reply) {
    report(names, names.readListFunction, names.loadOperation, QLatin1String("DBusPendingReply nullpointer"));
    return ResultError;
  }
  ErrorContainer error(ErrorContainer::getErrorCodeNoError(), QString());
  if (reply->isFinished(error) == 1) {
    report(names, names.readListFunction, names.loadOperation, QLatin1String("DBus access error"));
    return ResultError;
  }
  pendingReply = reply;
  return ResultBusy;
}
