#include "RuntimeFunctions.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>

#include "CodesysRuntime.h"
#include "HostLog.h"

namespace {

constexpr RTS_RESULT kOk = 0;
constexpr RTS_RESULT kFailed = 1;
constexpr int32_t kWarning = 2;  // log class

/** A text is cut at 2047 bytes. */
__attribute__((format(printf, 6, 7))) RTS_RESULT logAdd(void*, uint32_t componentId, int32_t logClass,
                                                        int32_t errorId, int32_t infoId, const char* format,
                                                        ...) {
  char text[2048];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  if (length < 0) {
    return kFailed;
  }
  char origin[64];
  std::snprintf(origin, sizeof origin, "component %08x class %d error %d info %d: ", componentId, logClass,
                errorId, infoId);
  const std::string level = logClass == kWarning ? "warning" : "class " + std::to_string(logClass);
  return HostLog::write(level, std::string(origin) + text) ? kOk : kFailed;
}

void* copyMemory(void* target, const void* source, size_t size) {
  return std::memcpy(target, source, size);
}

RTS_RESULT copyText(char* target, size_t capacity, const char* source) {
  if (target == nullptr || source == nullptr || capacity == 0) {
    return kFailed;
  }
  const size_t length = strnlen(source, capacity);
  const size_t copied = std::min(length, capacity - 1);
  std::memcpy(target, source, copied);
  target[copied] = '\0';
  return copied == length ? kOk : kFailed;
}

void store(RTS_RESULT* result, bool ok) {
  if (result != nullptr) {
    *result = ok ? kOk : kFailed;
  }
}

void* openFile(const char* path, int32_t accessMode, RTS_RESULT* result) {
  constexpr const char* kModes[] = {"rb", "wb", "ab"};
  FILE* file = accessMode >= 0 && accessMode <= 2 ? std::fopen(path, kModes[accessMode]) : nullptr;
  store(result, file != nullptr);
  return file;
}

size_t readFile(void* file, void* buffer, size_t size, RTS_RESULT* result) {
  auto* stream = static_cast<FILE*>(file);
  const size_t moved = std::fread(buffer, 1, size, stream);
  store(result, std::ferror(stream) == 0);
  return moved;
}

size_t writeFile(void* file, const void* buffer, size_t size, RTS_RESULT* result) {
  const size_t moved = std::fwrite(buffer, 1, size, static_cast<FILE*>(file));
  store(result, moved == size);
  return moved;
}

RTS_RESULT closeFile(void* file) {
  return std::fclose(static_cast<FILE*>(file)) == 0 ? kOk : kFailed;
}

/** The address as a variable of exactly this type holds it: a wrong signature does not compile. */
template <typename Function>
void* address(Function function) {
  return reinterpret_cast<void*>(function);
}

}  // namespace

void* RuntimeFunctions::find(const std::string& name) {
  static const std::map<std::string, void*> functions{
      {"LogAdd", address<LogAddFunction>(logAdd)},
      {"CMUtlMemCpy", address<CMUtlMemCpyFunction>(copyMemory)},
      {"CMUtlSafeStrCpy", address<CMUtlSafeStrCpyFunction>(copyText)},
      {"SysFileOpen", address<SysFileOpenFunction>(openFile)},
      {"SysFileRead", address<SysFileReadFunction>(readFile)},
      {"SysFileWrite", address<SysFileWriteFunction>(writeFile)},
      {"SysFileClose", address<SysFileCloseFunction>(closeFile)},
  };
  const auto found = functions.find(name);
  return found == functions.end() ? nullptr : found->second;
}
