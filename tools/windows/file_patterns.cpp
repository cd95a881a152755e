// SPDX-License-Identifier: ISC
#include "tools/windows/file_patterns.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <windows.h>

namespace quellard {
namespace fs = std::filesystem;
namespace {

constexpr const wchar_t* kSigns = L"*?";

bool sameLetter(wchar_t a, wchar_t b) {
  return CompareStringOrdinal(&a, 1, &b, 1, TRUE) == CSTR_EQUAL;
}

// Not by the system's own search, which also looks at the short names of old programs: there *.wav
// finds song.wave.
bool fits(std::wstring_view name, std::wstring_view pattern) {
  std::size_t at = 0, in = 0;
  std::size_t star = std::wstring_view::npos, resumed = 0;  // the last *, and where it ends
  while (at < name.size()) {
    if (in < pattern.size() && pattern[in] == L'*') {
      star = in++;
      resumed = at;
    } else if (in < pattern.size() && (pattern[in] == L'?' || sameLetter(pattern[in], name[at]))) {
      ++in;
      ++at;
    } else if (star != std::wstring_view::npos) {
      in = star + 1;
      at = ++resumed;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of(L'*', in) == std::wstring_view::npos;
}

}  // namespace

std::vector<std::wstring> filesNamed(const std::wstring& word) {
  const fs::path asked = word;
  const std::wstring pattern = asked.filename().native();
  std::vector<std::wstring> found;
  if (pattern.find_first_of(kSigns) == std::wstring::npos) return {word};
  const fs::path folder = asked.has_parent_path() ? asked.parent_path() : fs::path(L".");
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    const fs::path name = it->path().filename();
    const bool isHidden = name.native().starts_with(L'.') && !pattern.starts_with(L'.');
    if (!isHidden && fits(name.native(), pattern)) {
      found.push_back((asked.parent_path() / name).native());
    }
  }
  std::sort(found.begin(), found.end());
  if (found.empty()) return {word};
  return found;
}

}  // namespace quellard
