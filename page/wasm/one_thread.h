// SPDX-License-Identifier: ISC
// Included in front of every source of the page's module. Its C++ library is built for one thread
// and has no mutex then; this one has nobody to wait for.
#pragma once

#include <mutex>

namespace std {  // NOLINT(cert-dcl58-cpp): the library's place for it is empty

class recursive_mutex {
 public:
  void lock() {}
  bool try_lock() { return true; }
  void unlock() {}
};

}  // namespace std
