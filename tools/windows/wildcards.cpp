// SPDX-License-Identifier: ISC
#include "tools/windows/wildcards.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <windows.h>

namespace quellard {
namespace fs = std::filesystem;
namespace {

constexpr const wchar_t* kWildcards = L"*?";

bool sameLetter(wchar_t a, wchar_t b) {
  return CompareStringOrdinal(&a, 1, &b, 1, TRUE) == CSTR_EQUAL;
}

// Not by the system's own search, which also looks at the short names of old programs: there *.wav
// finds song.wave.
bool matches(std::wstring_view name, std::wstring_view pattern) {
  constexpr std::size_t kNone = std::wstring_view::npos;
  std::size_t n = 0, p = 0;                   // what is compared next of both
  std::size_t star = kNone, starMatches = 0;  // the last *, and where in the name it ends
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == L'*') {
      star = p++;
      starMatches = n;
    } else if (p < pattern.size() && (pattern[p] == L'?' || sameLetter(pattern[p], name[n]))) {
      ++p;
      ++n;
    } else if (star != kNone) {
      p = star + 1;
      n = ++starMatches;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of(L'*', p) == kNone;
}

}  // namespace

std::vector<std::wstring> expandWildcards(const std::wstring& word) {
  const fs::path asked = word;
  const std::wstring pattern = asked.filename().native();
  std::vector<std::wstring> found;
  if (pattern.find_first_of(kWildcards) == std::wstring::npos) return {word};
  const fs::path folder = asked.has_parent_path() ? asked.parent_path() : fs::path(L".");
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    const fs::path name = it->path().filename();
    const bool isHidden = name.native().starts_with(L'.') && !pattern.starts_with(L'.');
    if (!isHidden && matches(name.native(), pattern)) {
      found.push_back((asked.parent_path() / name).native());
    }
  }
  std::sort(found.begin(), found.end());
  if (found.empty()) return {word};
  return found;
}

}  // namespace quellard
