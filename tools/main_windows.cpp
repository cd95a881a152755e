// SPDX-License-Identifier: ISC
// The words of the command line as UTF-8. Those that main() is given are in the code page of the
// user's country, which lacks most letters, and have their patterns in them, which no shell here
// replaces by files.
// In this order, since the later headers use the types of windows.h.
// clang-format off
#include <windows.h>
#include <shellapi.h>
// clang-format on

#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "tools/cli.h"
#include "tools/windows/wildcards.h"

namespace {

std::string utf8(const std::wstring& word) {
  const auto length = static_cast<int>(word.size());
  const int size =
      WideCharToMultiByte(CP_UTF8, 0, word.data(), length, nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, word.data(), length, text.data(), size, nullptr, nullptr);
  return text;
}

std::vector<std::string> commandLine() {
  int count = 0;
  wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> texts;
  for (const std::wstring word : std::span(words, static_cast<std::size_t>(count))) {
    const bool isOption = texts.empty() || word.starts_with(L'-');
    for (const std::wstring& file :
         isOption ? std::vector{word} : quellard::expandWildcards(word)) {
      texts.push_back(utf8(file));
    }
  }
  LocalFree(static_cast<void*>(words));
  return texts;
}

}  // namespace

int main() {
  const std::vector<std::string> words = commandLine();
  std::vector<const char*> pointers(words.size());
  std::ranges::transform(words, pointers.begin(), &std::string::c_str);
  return quellard::runCommand(static_cast<int>(pointers.size()), pointers.data());
}
