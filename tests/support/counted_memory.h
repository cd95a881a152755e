// SPDX-License-Identifier: ISC
// Replaces the process's operator new, which then counts, for each thread, and fails on command.
// For one source file of a program; modules that the program loads use the same. The thread
// sanitizer keeps allocation to itself.
#pragma once

#include <cstdlib>
#include <malloc.h>
#include <new>

namespace quellard::test {

inline thread_local long allocations = 0;
inline thread_local long liveBytes = 0;
inline thread_local long untilFailure = -1;  // negative: never
inline thread_local bool struck = false;     // since the last Shortage began
inline thread_local void (*onRelease)(const char* from, const char* end) = nullptr;

// Lets `count` more allocations of this thread pass and fails the next one, within its scope.
class Shortage {
 public:
  explicit Shortage(long count) {
    struck = false;
    untilFailure = count;
  }
  ~Shortage() { untilFailure = -1; }
  Shortage(const Shortage&) = delete;
  Shortage& operator=(const Shortage&) = delete;
};

inline void* take(std::size_t size) noexcept {
  if (untilFailure >= 0 && untilFailure-- == 0) {
    struck = true;
    return nullptr;
  }
  void* memory = std::malloc(size > 0 ? size : 1);
  ++allocations;
  liveBytes += static_cast<long>(malloc_usable_size(memory));
  return memory;
}

// Inlined, g++ would take free() for a wrong partner of operator new.
[[gnu::noinline]] inline void give(void* memory) noexcept {
  const std::size_t size = malloc_usable_size(memory);
  liveBytes -= static_cast<long>(size);
  if (onRelease != nullptr && memory != nullptr) {
    onRelease(static_cast<char*>(memory), static_cast<char*>(memory) + size);
  }
  std::free(memory);
}

}  // namespace quellard::test

// NOLINTBEGIN(misc-definitions-in-headers)
void* operator new(std::size_t size) {
  if (void* memory = quellard::test::take(size)) return memory;
  throw std::bad_alloc();
}
// Written out, since a sanitizer's own versions of these would not call the one above.
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept {
  return quellard::test::take(n);
}
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept {
  return quellard::test::take(n);
}
void operator delete(void* memory) noexcept { quellard::test::give(memory); }
void operator delete[](void* memory) noexcept { quellard::test::give(memory); }
void operator delete(void* memory, std::size_t) noexcept { quellard::test::give(memory); }
void operator delete[](void* memory, std::size_t) noexcept { quellard::test::give(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { quellard::test::give(memory); }
// NOLINTEND(misc-definitions-in-headers)
