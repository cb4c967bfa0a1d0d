#include "ExternalFunction.h"
#include "TavrolineAlarmHandler.h"
#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"
#include "tavroline/handles.h"

namespace {

template <typename Reader>
void openReader(const char* name, openeventlistreadhandle_struct* parameters) {
  externalFunction(name, [&] {
    if (parameters != nullptr) {
      parameters->hReadHandle = nullptr;
      parameters->hReadHandle = new Reader;
      parameters->xSuccess = 1;
    }
  });
}

template <typename Reader>
void closeReader(const char* name, const closeeventlistreadhandle_struct* parameters) {
  externalFunction(name, [&] {
    if (parameters == nullptr || parameters->hReadHandle == nullptr) {
      return;
    }
    auto* const reader = static_cast<Reader*>(parameters->hReadHandle);
    if (HandleCheck::isUsable(reader)) {
      delete reader;
    }
  });
}

}  // namespace

void openeventlistreadhandle_ext(openeventlistreadhandle_struct* parameters) {
  openReader<TavrolineEventlistRead>(__func__, parameters);
}

void openalarmlistreadhandle_ext(openalarmlistreadhandle_struct* parameters) {
  openReader<TavrolineAlarmlistRead>(__func__, parameters);
}

void closeeventlistreadhandle_ext(closeeventlistreadhandle_struct* parameters) {
  closeReader<TavrolineEventlistRead>(__func__, parameters);
}

void closealarmlistreadhandle_ext(closealarmlistreadhandle_struct* parameters) {
  closeReader<TavrolineAlarmlistRead>(__func__, parameters);
}

void openalarmlistwritehandle_ext(openalarmlistwritehandle_struct* parameters) {
  externalFunction(__func__, [&] {
    if (TavrolineConvenienceFunctions::checkStructPointer(parameters)) {
      parameters->hWriteHandle = nullptr;
      parameters->hWriteHandle = new TavrolineAlarmHandler(nullptr);
    }
  });
}

void closealarmlistwritehandle_ext(closealarmlistwritehandle_struct* parameters) {
  externalFunction(__func__, [&] {
    if (!TavrolineConvenienceFunctions::checkStructPointer(parameters) ||
        !TavrolineConvenienceFunctions::checkStructPointer(parameters->hWriteHandle)) {
      return;
    }
    auto* const handler = static_cast<TavrolineAlarmHandler*>(parameters->hWriteHandle);
    parameters->hWriteHandle = nullptr;  // first: the record of a refusal may fail
    if (HandleCheck::isUsable(handler)) {
      delete handler;
    }
  });
}
