#pragma once

/**
 * Single-byte flags that one thread writes under a lock and others read without it. They stay plain bools in
 * the classes' layout; every access goes through these two. [any-thread]
 */
namespace SharedFlag {

inline bool load(const bool& flag) {
  return __atomic_load_n(&flag, __ATOMIC_RELAXED);
}
inline void store(bool& flag, bool value) {
  __atomic_store_n(&flag, value, __ATOMIC_RELAXED);
}

}  // namespace SharedFlag
