#include "ProgramFiles.h"

#include <filesystem>
#include <stdexcept>
#include <utility>

#include "SharedLibrary.h"

namespace {

namespace fs = std::filesystem;

/** The component beside this program, as in a build tree, or where it is installed with it. */
std::string installedComponent() {
  const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
  for (const fs::path& place : {folder, folder / TAVROLINE_PLUGINS}) {
    if (fs::exists(place / "libTavroline.so")) {
      return (place / "libTavroline.so").lexically_normal();
    }
  }
  throw std::runtime_error("no component is installed in " +
                           (folder / TAVROLINE_PLUGINS).lexically_normal().string() +
                           "; name one before the programs");
}

}  // namespace

ProgramFiles ProgramFiles::of(std::vector<std::string> files) {
  if (files.empty() || SharedLibrary(files.front()).exports("PlcProgramMain")) {
    return {installedComponent(), std::move(files)};
  }
  std::string component = files.front();
  files.erase(files.begin());
  return {std::move(component), std::move(files)};
}
