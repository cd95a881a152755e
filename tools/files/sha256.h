// SPDX-License-Identifier: ISC
// SHA-256, by the library for cryptography that each system has.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>

namespace quellard {

class Sha256 {
 public:
  Sha256();
  ~Sha256();
  Sha256(const Sha256&) = delete;
  Sha256& operator=(const Sha256&) = delete;

  void add(std::span<const char> bytes);
  // The last call.
  std::array<std::uint8_t, 32> finish();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quellard
