#pragma once

#include <cstdio>
#include <memory>
#include <string>

/** A file of lines, each with its time. Several threads may write at once; their lines are then in any
 * order. An owner that needs an order lets one thread write at a time. */
class LineFile {
 public:
  /** Standard error. [init] */
  LineFile() : m_file(stderr) {}

  /**
   * @param mode as for fopen()
   * @param what names the file's purpose in the std::runtime_error thrown when it cannot be opened. [init]
   */
  LineFile(const std::string& path, const char* mode, const std::string& what);

  /** Write one line, time first, in UTC with microseconds, and flush it, so that the last line before a crash
   * can be read. @return whether it was written. [any-thread] */
  bool write(const std::string& text) const;

 private:
  struct Closer {
    void operator()(FILE* file) const {
      if (file != stderr) {
        std::fclose(file);
      }
    }
  };

  std::unique_ptr<FILE, Closer> m_file;
};
