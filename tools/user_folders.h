// SPDX-License-Identifier: ISC
// Where programs keep what is a user's own, as the desktops agree on.
#pragma once

#include <filesystem>

namespace quellard {

// $XDG_CONFIG_HOME/quellard or ~/.config/quellard: what a user writes. Empty without a home folder.
std::filesystem::path configurationFolder();

// $XDG_STATE_HOME/quellard or ~/.local/state/quellard: what a program remembers. Empty likewise.
std::filesystem::path stateFolder();

}  // namespace quellard
