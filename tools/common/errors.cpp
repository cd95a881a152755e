// SPDX-License-Identifier: ISC
#include "tools/common/errors.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <fmt/format.h>
#include <new>
#include <system_error>
#include <utility>

#include "params/words.h"

namespace quellard {
namespace {

constexpr std::pair<int, const char*> kReasons[] = {
    {ENOENT, "no such file or folder"},
    {EACCES, "no permission"},
    {EPERM, "not permitted"},
    {EISDIR, "it is a folder"},
    {ENOTDIR, "a part of its path is no folder"},
    {EEXIST, "something else has this name"},
    {ENOSPC, "the disk is full"},
#if defined(EDQUOT)  // not on Windows
    {EDQUOT, "the quota of disk space is used up"},
#endif
    {EFBIG, "larger than a file may become here"},
    {EROFS, "the disk can only be read"},
    {EIO, "the disk or device fails"},
    {EPIPE, "nobody reads it any more"},
    {EBADF, "it is closed"},
    {ELOOP, "its links lead in a circle"},
    {ENAMETOOLONG, "the name is too long"},
    {EMFILE, "too many files are open"},
    {ENFILE, "too many files are open"},
    {ENOMEM, "out of memory"},
    {EAGAIN, "too much runs on this machine"},
    {ENXIO, "there is no such device"},
    {ENODEV, "there is no such device"},
    {ETXTBSY, "it is a program that runs"},
};

struct Character {
  std::uint32_t code;
  std::size_t bytes;  // 0 where the text is not UTF-8
};

Character decode(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  if (lead < 0x80) return {lead, 1};
  const std::size_t bytes = lead >= 0xF0 ? 4 : (lead >= 0xE0 ? 3 : 2);
  if (lead < 0xC2 || lead > 0xF4 || text.size() < bytes) return {0, 0};
  std::uint32_t code = lead & (0xFFU >> (bytes + 1));
  for (const char next : text.substr(1, bytes - 1)) {
    if (!continuesUtf8Sequence(next)) return {0, 0};
    code = code << 6U | (static_cast<unsigned char>(next) & 0x3FU);
  }
  constexpr std::array<std::uint32_t, 5> kShortest = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < kShortest[bytes] || surrogate || code > 0x10FFFF) return {0, 0};
  return {code, bytes};
}

// Control characters, line separators, and marks of writing direction.
bool commandsTheTerminal(std::uint32_t code) {
  return code < 0x20 || (code >= 0x7F && code < 0xA0) || (code >= 0x2028 && code <= 0x202E) ||
         (code >= 0x2066 && code <= 0x2069) || code == 0x200E || code == 0x200F;
}

}  // namespace

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t bytes = decode(text).bytes;
    if (bytes == 0) return false;
    text.remove_prefix(bytes);
  }
  return true;
}

std::string systemMessage(int error) {
  for (const auto& [number, reason] : kReasons) {
    if (number == error) return reason;
  }
  return fmt::format("the system refuses, for its reason {}", error);
}

// Windows has numbers of its own, which have nearest ones among those of C.
std::string systemMessage(const std::error_code& error) {
  return systemMessage(error.default_error_condition().value());
}

void failWriting(const std::filesystem::path& file, int error) {
  throw FileError(fmt::format("cannot write {}: {}", file.string(), systemMessage(error)));
}

std::string explanation(const std::exception& error) {
  if (const auto* file = dynamic_cast<const std::filesystem::filesystem_error*>(&error)) {
    return fmt::format("cannot reach {}: {}", file->path1().string(), systemMessage(file->code()));
  }
  if (const auto* system = dynamic_cast<const std::system_error*>(&error)) {
    return systemMessage(system->code());
  }
  if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) return systemMessage(ENOMEM);
  return error.what();
}

std::string oneLine(std::string_view text) {
  std::string line;
  while (!text.empty()) {
    const auto [code, bytes] = decode(text);
    const std::string_view taken = text.substr(0, bytes == 0 ? 1 : bytes);
    text.remove_prefix(taken.size());
    if (bytes != 0 && !commandsTheTerminal(code)) {
      line += taken;
    } else if (code == '\n' || code == '\t') {
      line += code == '\n' ? "\\n" : "\\t";
    } else {
      for (const char byte : taken) {
        line += fmt::format("\\x{:02x}", static_cast<unsigned char>(byte));
      }
    }
  }
  return line;
}

}  // namespace quellard
