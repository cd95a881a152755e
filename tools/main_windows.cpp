// SPDX-License-Identifier: ISC
// The words of the command line as UTF-8. Those that main() is given are in the code page of the
// user's country, which lacks most letters.
// The others use the types of the first.
// clang-format off
#include <windows.h>
#include <shellapi.h>
// clang-format on

#include <string>
#include <vector>

#include "tools/cli.h"

namespace {

std::string utf8(const wchar_t* word) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, word, -1, nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, word, -1, text.data(), size, nullptr, nullptr);
  return text;
}

}  // namespace

int main() {
  int count = 0;
  wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> texts;
  std::vector<const char*> pointers;
  for (int i = 0; i < count; ++i) texts.push_back(utf8(words[i]));
  LocalFree(static_cast<void*>(words));
  for (const std::string& text : texts) pointers.push_back(text.c_str());
  return quellard::runCommand(count, pointers.data());
}
