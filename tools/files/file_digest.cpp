// SPDX-License-Identifier: ISC
#include "tools/files/file_digest.h"

#include <fmt/format.h>
#include <iterator>
#include <span>
#include <vector>

#include "params/sizes.h"
#include "tools/common/interrupt.h"
#include "tools/files/input_file.h"
#include "tools/files/sha256.h"

namespace quellard {
namespace {

std::string inHexadecimal(std::span<const std::uint8_t> bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    fmt::format_to(std::back_inserter(text), "{:02x}", byte);
  }
  return text;
}

}  // namespace

std::string sha256(std::string_view bytes) {
  Sha256 digest;
  digest.add(bytes);
  return inHexadecimal(digest.finish());
}

std::string sha256OfFile(const std::filesystem::path& file) {
  constexpr std::size_t kPiece = 1 << 18;
  InputFile input(file);
  input.forgetStart();
  Sha256 digest;
  std::vector<char> piece(kPiece);
  for (;;) {
    throwIfInterrupted();
    const std::int64_t got = input.read(piece.data(), std::ssize(piece));
    input.throwIfFailed();
    if (got == 0) return inHexadecimal(digest.finish());
    digest.add(std::span(piece).first(asSize(got)));
  }
}

}  // namespace quellard
