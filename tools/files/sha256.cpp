// SPDX-License-Identifier: ISC
#include "tools/files/sha256.h"

#include <new>
#include <openssl/evp.h>

namespace quellard {

struct Sha256::State {
  struct Free {
    void operator()(EVP_MD_CTX* freed) const { EVP_MD_CTX_free(freed); }
  };
  std::unique_ptr<EVP_MD_CTX, Free> context{EVP_MD_CTX_new()};
};

Sha256::Sha256() : state_(std::make_unique<State>()) {
  if (!state_->context) throw std::bad_alloc();
  EVP_DigestInit_ex(state_->context.get(), EVP_sha256(), nullptr);
}

Sha256::~Sha256() = default;

void Sha256::add(std::span<const char> bytes) {
  EVP_DigestUpdate(state_->context.get(), bytes.data(), bytes.size());
}

std::array<std::uint8_t, 32> Sha256::finish() {
  std::array<std::uint8_t, 32> digest = {};
  EVP_DigestFinal_ex(state_->context.get(), digest.data(), nullptr);
  return digest;
}

}  // namespace quellard
