#include "SharedLibrary.h"

#include <dlfcn.h>

#include <filesystem>
#include <stdexcept>

// Made absolute: dlopen searches the system's library folders for a name without a slash.
SharedLibrary::SharedLibrary(const std::string& path)
    : m_handle(dlopen(std::filesystem::absolute(path).c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (!m_handle) {
    throw std::runtime_error(std::string("cannot load: ") + dlerror());
  }
}

void SharedLibrary::Closer::operator()(void* handle) const {
  dlclose(handle);
}

bool SharedLibrary::exports(const char* name) const {
  return dlsym(m_handle.get(), name) != nullptr;
}

void* SharedLibrary::symbol(const char* name) const {
  void* found = dlsym(m_handle.get(), name);
  if (found == nullptr) {
    throw std::runtime_error(std::string("no such function: ") + dlerror());
  }
  return found;
}
