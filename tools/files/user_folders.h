// SPDX-License-Identifier: ISC
// The user's folders for configuration and state, according to the XDG base directories;
// on Windows those of the user's application data, unless the XDG variables name others.
#pragma once

#include <filesystem>

namespace quellard {

// $HOME; empty without one, or where it is not absolute.
std::filesystem::path homeFolder();

// $XDG_CONFIG_HOME/quellard or ~/.config/quellard; empty without a home folder.
std::filesystem::path configurationFolder();

// $XDG_STATE_HOME/quellard or ~/.local/state/quellard; empty without a home folder.
std::filesystem::path stateFolder();

// The file that a variable of the environment names; empty without one.
std::filesystem::path pathFromVariable(const char* variable);

}  // namespace quellard
