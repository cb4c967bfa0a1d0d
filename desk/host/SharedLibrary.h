#pragma once

#include <memory>
#include <string>

/** A loaded shared object; the destructor unloads it. Construct and destroy it on one thread at a time. */
class SharedLibrary {
 public:
  /** Load with RTLD_NOW and RTLD_LOCAL. Throws std::runtime_error with the loader's message. [init] */
  explicit SharedLibrary(const std::string& path);

  /** Whether it exports that name. [any-thread] */
  bool exports(const char* name) const;

  /** The exported function of that name. Throws std::runtime_error if it is missing. [any-thread] */
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
