// SPDX-License-Identifier: ISC
#include "face/x11/xcb.h"

#include <algorithm>
#include <dlfcn.h>
#include <initializer_list>
#include <optional>

namespace quellard {
namespace {

template <typename Function>
bool find(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  return function != nullptr;
}

// The library stays loaded: X11's libraries leave things behind that outlive a connection.
std::optional<Xcb> lookUp() {
  void* const library = dlopen("libxcb.so.1", RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return std::nullopt;
  Xcb all{};
#define QUELLARD_XCB_FIND(name) find(library, "xcb_" #name, all.name),
  const std::initializer_list<bool> found = {QUELLARD_XCB_FUNCTIONS(QUELLARD_XCB_FIND)};
#undef QUELLARD_XCB_FIND
  const bool complete = std::ranges::all_of(found, [](bool is) { return is; });
  return complete ? std::optional(all) : std::nullopt;
}

}  // namespace

const Xcb* Xcb::load() {
  static const std::optional<Xcb> kFunctions = lookUp();
  return kFunctions.has_value() ? &*kFunctions : nullptr;
}

}  // namespace quellard
