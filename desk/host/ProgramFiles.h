#pragma once

#include <string>
#include <vector>

/** The files of a command line: the component, unless the installed one is wanted, then PLC programs. */
struct ProgramFiles {
  std::string component;
  std::vector<std::string> programs;

  /** Loads the first file to tell what it is. Throws std::runtime_error when that fails, or if no component
   * is named and none is installed. [init] */
  static ProgramFiles of(std::vector<std::string> files);
};
