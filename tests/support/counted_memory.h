// SPDX-License-Identifier: ISC
// Replaces the process's operator new by one that counts per thread and fails on request. To be
// included in one source file of a program; modules that the program loads use it too. Not for
// builds with the thread sanitizer, which replaces operator new itself.
#pragma once

#include <cstdlib>
#include <malloc.h>
#include <new>

namespace quellard::test {

inline thread_local long allocations = 0;
inline thread_local long liveBytes = 0;
inline thread_local long untilFailure = -1;  // negative: never
inline thread_local bool failed = false;     // since the last Shortage began
inline thread_local void (*onRelease)(const char* from, const char* end) = nullptr;

// Lets `count` more allocations of this thread pass and fails the next one, within its scope.
class Shortage {
 public:
  explicit Shortage(long count) {
    failed = false;
    untilFailure = count;
  }
  ~Shortage() { untilFailure = -1; }
  Shortage(const Shortage&) = delete;
  Shortage& operator=(const Shortage&) = delete;
};

// How much memory an allocation has got.
inline std::size_t sizeOf(void* memory) {
#if defined(_WIN32)
  return memory != nullptr ? _msize(memory) : 0;
#else
  return malloc_usable_size(memory);
#endif
}

inline void* allocate(std::size_t size) noexcept {
  if (untilFailure >= 0 && untilFailure-- == 0) {
    failed = true;
    return nullptr;
  }
  void* memory = std::malloc(size > 0 ? size : 1);
  ++allocations;
  liveBytes += static_cast<long>(sizeOf(memory));
  return memory;
}

// Not inlined: g++ would warn that free() does not match operator new.
[[gnu::noinline]] inline void release(void* memory) noexcept {
  const std::size_t size = sizeOf(memory);
  liveBytes -= static_cast<long>(size);
  if (onRelease != nullptr && memory != nullptr) {
    onRelease(static_cast<char*>(memory), static_cast<char*>(memory) + size);
  }
  std::free(memory);
}

}  // namespace quellard::test

// NOLINTBEGIN(misc-definitions-in-headers)
void* operator new(std::size_t size) {
  if (void* memory = quellard::test::allocate(size)) return memory;
  throw std::bad_alloc();
}
// The other forms are defined as well, since a sanitizer's versions would not call the one above.
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept {
  return quellard::test::allocate(n);
}
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept {
  return quellard::test::allocate(n);
}
void operator delete(void* memory) noexcept { quellard::test::release(memory); }
void operator delete[](void* memory) noexcept { quellard::test::release(memory); }
void operator delete(void* memory, std::size_t) noexcept { quellard::test::release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { quellard::test::release(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept {
  quellard::test::release(memory);
}
// NOLINTEND(misc-definitions-in-headers)
