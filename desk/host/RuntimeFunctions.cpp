#include "RuntimeFunctions.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>

#include "CodesysRuntime.h"

namespace {

constexpr RTS_RESULT kOk = 0;
constexpr RTS_RESULT kFailed = 1;

struct FileCloser {
  void operator()(FILE* file) const { std::fclose(file); }
};

/** The log file, null for standard error. Set before the component is loaded. */
std::unique_ptr<FILE, FileCloser>& logFile() {
  static std::unique_ptr<FILE, FileCloser> file;
  return file;
}

/** The mark of keepRecord(), and the last record that contained it. */
struct Kept {
  std::mutex mutex;
  std::string mark;
  std::string record;
};

Kept& kept() {
  static Kept kept;
  return kept;
}

void keep(const char* text) {
  Kept& wanted = kept();
  const std::lock_guard<std::mutex> lock(wanted.mutex);
  if (!wanted.mark.empty() && std::strstr(text, wanted.mark.c_str()) != nullptr) {
    wanted.record = text;
  }
}

/** One record is one line, written by one call, so that records of several threads do not mix. Texts are cut
 * at 2047 bytes. */
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
  // A text with line feeds must not look like two records.
  std::replace_if(
      std::begin(text), std::begin(text) + std::strlen(text),
      [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; }, ' ');
  keep(text);

  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm parts{};
  gmtime_r(&now.tv_sec, &parts);
  char time[32];
  std::strftime(time, sizeof time, "%FT%T", &parts);
  FILE* out = logFile() ? logFile().get() : stderr;
  const int written = std::fprintf(out, "%s.%03ldZ component %08x class %d error %d info %d: %s\n", time,
                                   now.tv_nsec / 1000000, componentId, logClass, errorId, infoId, text);
  std::fflush(out);
  return written < 0 ? kFailed : kOk;
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

void RuntimeFunctions::logToFile(const std::string& path) {
  logFile().reset(std::fopen(path.c_str(), "ae"));
  if (!logFile()) {
    throw std::runtime_error("cannot open the log file " + path);
  }
}

void RuntimeFunctions::keepRecord(const std::string& mark) {
  const std::lock_guard<std::mutex> lock(kept().mutex);
  kept().mark = mark;
}

std::string RuntimeFunctions::keptRecord() {
  const std::lock_guard<std::mutex> lock(kept().mutex);
  return kept().record;
}
