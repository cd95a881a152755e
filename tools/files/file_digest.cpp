// SPDX-License-Identifier: ISC
#include "tools/files/file_digest.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <iterator>
#include <memory>
#include <new>
#include <openssl/evp.h>
#include <span>
#include <unistd.h>
#include <vector>

#include "params/sizes.h"
#include "tools/common/errors.h"
#include "tools/common/interrupt.h"
#include "tools/files/unnamed_file.h"

namespace quellard {
namespace {

class Sha256 {
 public:
  Sha256() : context_(EVP_MD_CTX_new()) {
    if (context_ == nullptr) throw std::bad_alloc();
    EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr);
  }

  void add(std::span<const char> bytes) {
    EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size());
  }

  std::string finish() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest = {};
    unsigned size = 0;
    EVP_DigestFinal_ex(context_.get(), digest.data(), &size);
    std::string text;
    for (const unsigned char byte : std::span(digest).first(size)) {
      fmt::format_to(std::back_inserter(text), "{:02x}", byte);
    }
    return text;
  }

 private:
  struct Free {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
  };
  std::unique_ptr<EVP_MD_CTX, Free> context_;
};

}  // namespace

std::string sha256(std::string_view bytes) {
  Sha256 digest;
  digest.add(bytes);
  return digest.finish();
}

std::string sha256OfFile(const std::filesystem::path& file) {
  constexpr std::size_t kPiece = 1 << 18;
  const auto fail = [&] {
    throw FileError(fmt::format("cannot read {}: {}", file.string(), systemMessage(errno)));
  };
  const FileDescriptor opened(open(file.c_str(), O_RDONLY | O_CLOEXEC));
  if (!opened) fail();
  Sha256 digest;
  std::vector<char> piece(kPiece);
  for (;;) {
    throwIfInterrupted();
    const ssize_t got = read(opened.number(), piece.data(), piece.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) fail();
    if (got == 0) return digest.finish();
    digest.add(std::span(piece).first(asSize(got)));
  }
}

}  // namespace quellard
