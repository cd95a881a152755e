// SPDX-License-Identifier: ISC
// By Windows' own library for cryptography.
#include "tools/files/file_digest.h"

// The others use the types of the first.
// clang-format off
#include <windows.h>
#include <bcrypt.h>
// clang-format on

#include <array>
#include <fmt/format.h>
#include <iterator>
#include <new>
#include <vector>

#include "params/sizes.h"
#include "tools/common/interrupt.h"
#include "tools/files/input_file.h"

namespace quellard {
namespace {

class Sha256 {
 public:
  Sha256() {
    constexpr ULONG kReused = 0;
    if (BCryptOpenAlgorithmProvider(&algorithm_, BCRYPT_SHA256_ALGORITHM, nullptr, 0) < 0 ||
        BCryptCreateHash(algorithm_, &hash_, nullptr, 0, nullptr, 0, kReused) < 0) {
      throw std::bad_alloc();
    }
  }
  ~Sha256() {
    BCryptDestroyHash(hash_);
    BCryptCloseAlgorithmProvider(algorithm_, 0);
  }
  Sha256(const Sha256&) = delete;
  Sha256& operator=(const Sha256&) = delete;

  void add(std::string_view bytes) {
    std::vector<UCHAR> own(bytes.begin(), bytes.end());  // the interface knows no const
    BCryptHashData(hash_, own.data(), static_cast<ULONG>(own.size()), 0);
  }

  std::string finish() {
    std::array<UCHAR, 32> digest = {};
    BCryptFinishHash(hash_, digest.data(), digest.size(), 0);
    std::string text;
    for (const UCHAR byte : digest) fmt::format_to(std::back_inserter(text), "{:02x}", byte);
    return text;
  }

 private:
  BCRYPT_ALG_HANDLE algorithm_ = nullptr;
  BCRYPT_HASH_HANDLE hash_ = nullptr;
};

}  // namespace

std::string sha256(std::string_view bytes) {
  Sha256 digest;
  digest.add(bytes);
  return digest.finish();
}

std::string sha256OfFile(const std::filesystem::path& file) {
  InputFile input(file);
  Sha256 digest;
  std::vector<char> piece(1 << 18);
  for (;;) {
    throwIfInterrupted();
    const std::int64_t got = input.read(piece.data(), std::ssize(piece));
    input.throwIfFailed();
    if (got == 0) return digest.finish();
    digest.add({piece.data(), asSize(got)});
  }
}

}  // namespace quellard
