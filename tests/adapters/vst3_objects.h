// SPDX-License-Identifier: ISC
// Objects of VST3 hosts, for the tests that are such hosts.
#pragma once

#include <cstdint>
#include <travesty/base.h>
#include <travesty/host.h>

namespace quellard::test {

// An object of the host: the address of its functions, then its references and its own members.
template <typename Functions>
struct HostObject {
  struct Table : v3_funknown {
    Functions own;
  };
  const Table* table;
  int references = 1;

  explicit HostObject(const Table& functions) : table(&functions) {}
  template <typename Interface = Functions>
  Interface** interface() {
    return static_cast<Interface**>(static_cast<void*>(this));
  }
  static v3_result query(void*, const v3_tuid, void**) { return V3_NO_INTERFACE; }
  static std::uint32_t ref(void* self) { return count(self, 1); }
  static std::uint32_t unref(void* self) { return count(self, -1); }
  static std::uint32_t count(void* self, int more) {
    return static_cast<std::uint32_t>(static_cast<HostObject*>(self)->references += more);
  }
};
// The name of a host that must not be called back while it loads.
struct Application final : HostObject<v3_host_application> {
  Application() : HostObject(kTable) {}
  static v3_result name(void*, std::int16_t* to) {
    for (const char* c = "Ardour"; *c != 0; ++c) *to++ = *c;
    return *to = 0, V3_OK;
  }
  static v3_result find(void* self, const v3_tuid id, void** object) {
    if (!v3_tuid_match(id, v3_host_application_iid)) return V3_NO_INTERFACE;
    ref(self);
    return *object = self, V3_OK;
  }
  static constexpr Table kTable = {{find, ref, unref}, {name, nullptr}};
};

}  // namespace quellard::test
