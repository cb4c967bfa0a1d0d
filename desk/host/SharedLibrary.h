#pragma once

#include <memory>
#include <string>

/** A shared object while it is loaded. Not shared between threads while it is opened or closed. */
class SharedLibrary {
 public:
  /** Load with RTLD_NOW and RTLD_LOCAL. Throws std::runtime_error with the loader's words. [init] */
  explicit SharedLibrary(const std::string& path);

  /** The exported function of that name. Throws std::runtime_error when there is none. [any-thread] */
  template <typename Function>
  Function function(const char* name) const {
    return reinterpret_cast<Function>(symbol(name));
  }

 private:
  struct Closer {
    void operator()(void* handle) const;
  };

  void* symbol(const char* name) const;

  std::unique_ptr<void, Closer> m_handle;
};
