#pragma once

#include <QList>

#include <mutex>
#include <unordered_map>
#include <vector>

#include "tavroline/tavroline.h"

/**
 * @file
 * Minimal forms of a flag query and of the hook, without the component's code. A separate source file, so
 * that the compiler cannot inline the calls.
 */

/** An object behind a handle, identified by its address and its class. */
struct ReferenceObject {
  virtual ~ReferenceObject() = default;
  bool flag = false;
  bool other = false;
};

/** A flag query: one uncontended mutex, one hash look-up, one typeid. */
class ReferenceRegistry {
 public:
  void add(ReferenceObject* object);
  /** Write the object's flag into the structure; nothing when there is no such object. */
  void query(haslistchanged_struct* parameters);

 private:
  std::mutex m_mutex;
  std::unordered_map<const void*, ReferenceObject*> m_objects;
};

/** The hook: for each list one recursive mutex, its flags and a walk over its readers. */
class ReferenceHook {
 public:
  /** @param readers of each of the two lists */
  explicit ReferenceHook(int readers);
  ~ReferenceHook();
  ReferenceHook(const ReferenceHook&) = delete;
  ReferenceHook& operator=(const ReferenceHook&) = delete;

  void run();

 private:
  struct Impl;
  Impl* m_impl;
};
