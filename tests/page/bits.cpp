// SPDX-License-Identifier: ISC
// The session of SameBitsEverywhere in a module for browsers.
#include "page/wasm/exported.h"
#include "tests/support/opened_effect.h"
#include "tests/support/own_math.h"
#include "tests/support/session.h"

// 64 bits, which JavaScript reads as a BigInt.
QUELLARD_EXPORTED(session_digest) std::uint64_t sessionDigest() {
  quellard::test::OpenedEffect effect;
  using namespace quellard::test;
  return digest(playSession(effect, kDigestSeed, {.blocks = kDigestBlocks}));
}
QUELLARD_EXPORTED(expected_digest) std::uint64_t expectedDigest() {
  return quellard::test::kSessionDigest;
}
QUELLARD_EXPORTED(tangents) int calledTangents() { return tangents; }
