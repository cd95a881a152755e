// SPDX-License-Identifier: ISC
#include <cstdlib>

#include "tools/files/user_folders.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

fs::path absoluteFrom(const wchar_t* variable) {
  const wchar_t* const value = _wgetenv(variable);
  fs::path path = value != nullptr ? value : L"";
  return path.is_absolute() ? path : fs::path();
}

// Where a player moves these folders, the same variable does it on every system.
fs::path folder(const wchar_t* variable, const wchar_t* usual) {
  fs::path own = absoluteFrom(variable);
  if (own.empty()) own = absoluteFrom(usual);
  return own.empty() ? own : own / "quellard";
}

}  // namespace

fs::path homeFolder() { return absoluteFrom(L"USERPROFILE"); }

fs::path configurationFolder() { return folder(L"XDG_CONFIG_HOME", L"APPDATA"); }

fs::path stateFolder() { return folder(L"XDG_STATE_HOME", L"LOCALAPPDATA"); }

fs::path pathFromVariable(const char* variable) {
  const std::wstring name(variable, variable + std::char_traits<char>::length(variable));
  const wchar_t* const value = _wgetenv(name.c_str());
  return value != nullptr ? value : L"";
}

}  // namespace quellard
