#include <memory>

#include "ExternalFunction.h"
#include "TavrolineAlarmHandler.h"
#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"
#include "tavroline/handles.h"

namespace Tavroline {
namespace {

constexpr char kFile[] = "HandleFunctions";

template <typename Reader>
void openReader(const Origin& origin, openeventlistreadhandle_struct* parameters) {
  if (parameters == nullptr) {
    return;
  }
  Reader* reader = nullptr;
  externalFunction(origin, [&] { reader = new Reader; });
  parameters->hReadHandle = reader;  // null if the construction failed
  if (reader != nullptr) {
    parameters->xSuccess = 1;
  }
}

template <typename Reader>
void closeReader(const Origin& origin, const closeeventlistreadhandle_struct* parameters) {
  externalFunction(origin, [&] {
    if (parameters != nullptr && parameters->hReadHandle != nullptr) {
      delete readerOf<Reader>(origin, parameters->hReadHandle);
    }
  });
}

}  // namespace
}  // namespace Tavroline

using namespace Tavroline;

void openeventlistreadhandle_ext(openeventlistreadhandle_struct* parameters) {
  openReader<TavrolineEventlistRead>(ORIGIN(openeventlistreadhandle), parameters);
}

void openalarmlistreadhandle_ext(openalarmlistreadhandle_struct* parameters) {
  openReader<TavrolineAlarmlistRead>(ORIGIN(openalarmlistreadhandle), parameters);
}

void closeeventlistreadhandle_ext(closeeventlistreadhandle_struct* parameters) {
  closeReader<TavrolineEventlistRead>(ORIGIN(closeeventlistreadhandle), parameters);
}

void closealarmlistreadhandle_ext(closealarmlistreadhandle_struct* parameters) {
  closeReader<TavrolineAlarmlistRead>(ORIGIN(closealarmlistreadhandle), parameters);
}

void openalarmlistwritehandle_ext(openalarmlistwritehandle_struct* parameters) {
  std::unique_ptr<TavrolineAlarmHandler> handler;
  externalFunction(ORIGIN(openalarmlistwritehandle), [&] {
    if (TavrolineConvenienceFunctions::checkStructPointer(parameters)) {
      handler = std::make_unique<TavrolineAlarmHandler>(nullptr);
    }
  });
  if (parameters != nullptr) {
    parameters->hWriteHandle = handler.release();  // null if the construction failed
  }
}

void closealarmlistwritehandle_ext(closealarmlistwritehandle_struct* parameters) {
  const Origin origin = ORIGIN(closealarmlistwritehandle);
  externalFunction(origin, [&] {
    if (TavrolineConvenienceFunctions::checkStructPointer(parameters)) {
      delete handlerOf(origin, parameters->hWriteHandle);
      parameters->hWriteHandle = nullptr;  // also after a refusal
    }
  });
}
