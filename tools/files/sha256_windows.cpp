// SPDX-License-Identifier: ISC
// In this order, since the later headers use the types of windows.h.
// clang-format off
#include <windows.h>
#include <bcrypt.h>
// clang-format on

#include <new>
#include <vector>

#include "tools/files/sha256.h"

namespace quellard {

struct Sha256::State {
  State() = default;
  ~State() {
    BCryptDestroyHash(hash);
    BCryptCloseAlgorithmProvider(algorithm, 0);
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  BCRYPT_ALG_HANDLE algorithm = nullptr;
  BCRYPT_HASH_HANDLE hash = nullptr;
};

Sha256::Sha256() : state_(std::make_unique<State>()) {
  if (BCryptOpenAlgorithmProvider(&state_->algorithm, BCRYPT_SHA256_ALGORITHM, nullptr, 0) < 0 ||
      BCryptCreateHash(state_->algorithm, &state_->hash, nullptr, 0, nullptr, 0, 0) < 0) {
    throw std::bad_alloc();
  }
}

Sha256::~Sha256() = default;

void Sha256::add(std::span<const char> bytes) {
  std::vector<UCHAR> own(bytes.begin(), bytes.end());  // the interface knows no const
  BCryptHashData(state_->hash, own.data(), static_cast<ULONG>(own.size()), 0);
}

std::array<std::uint8_t, 32> Sha256::finish() {
  std::array<std::uint8_t, 32> digest = {};
  BCryptFinishHash(state_->hash, digest.data(), digest.size(), 0);
  return digest;
}

}  // namespace quellard
