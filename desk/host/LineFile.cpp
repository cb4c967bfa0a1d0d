#include "LineFile.h"

#include <ctime>
#include <stdexcept>

LineFile::LineFile(const std::string& path, const char* mode, const std::string& what)
    : m_file(std::fopen(path.c_str(), mode)) {
  if (!m_file) {
    throw std::runtime_error("cannot open the " + what + ' ' + path);
  }
}

bool LineFile::write(const std::string& text) const {
  timespec time{};
  clock_gettime(CLOCK_REALTIME, &time);
  tm parts{};
  char seconds[32];
  std::strftime(seconds, sizeof seconds, "%FT%T", gmtime_r(&time.tv_sec, &parts));
  // One call, so that the lines of several threads do not mix.
  const int written =
      std::fprintf(m_file.get(), "%s.%06ldZ %s\n", seconds, time.tv_nsec / 1000, text.c_str());
  return std::fflush(m_file.get()) == 0 && written >= 0;
}
