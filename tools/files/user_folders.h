// SPDX-License-Identifier: ISC
// The user's folders for configuration and state, according to the XDG base directories.
#pragma once

#include <filesystem>

namespace quellard {

// $HOME; empty without one, or where it is not absolute.
std::filesystem::path homeFolder();

// $XDG_CONFIG_HOME/quellard or ~/.config/quellard; empty without a home folder.
std::filesystem::path configurationFolder();

// $XDG_STATE_HOME/quellard or ~/.local/state/quellard; empty without a home folder.
std::filesystem::path stateFolder();

}  // namespace quellard
