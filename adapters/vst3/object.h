// SPDX-License-Identifier: ISC
// What VST3 asks of every object: it has several interfaces, each of which leads to all others, and
// it lives until its last reference is released.
#pragma once

#include <atomic>
#include <cstdint>
#include <travesty/base.h>

namespace quellard {

// Object derives from this. It has offers(), the ids that hosts may ask for with the interface of
// each, and unref().
template <typename Object>
class Vst3Object {
 public:
  // Hosts hold the address of an interface, find the functions through its first member and pass
  // the address to each of them; the second member leads to the object.
  struct Interface {
    const void* functions;
    Object* object;
  };
  struct Offer {
    const std::uint8_t* iid;
    Interface* interface;
  };

  static Object& of(void* interface) { return *static_cast<Interface*>(interface)->object; }

  // The first functions of every interface, beside unref(). [any thread]
  static v3_result query(void* interface, const v3_tuid iid, void** object) {
    if (iid == nullptr || object == nullptr) return V3_INVALID_ARG;
    *object = nullptr;
    for (const Offer& offer : of(interface).offers()) {
      if (!v3_tuid_match(iid, offer.iid)) continue;
      ref(interface);
      *object = offer.interface;
      return V3_OK;
    }
    return V3_NO_INTERFACE;
  }
  static std::uint32_t ref(void* interface) { return ++of(interface).references_; }

 protected:
  std::atomic<std::uint32_t> references_ = 1;  // the caller of create() owns the first
};

template <typename Object>
inline constexpr v3_funknown kVst3Unknown = {
    .query_interface = Object::query,
    .ref = Object::ref,
    .unref = Object::unref,
};

}  // namespace quellard
