// SPDX-License-Identifier: ISC
// Names with * and ?, which shells elsewhere replace by the files that are there, and which Windows
// leaves to the programs.
#pragma once

#include <string>
#include <vector>

namespace quellard {

// The files and folders that a word of the command line stands for, sorted; the word itself where
// it has no signs in its last part, or nothing fits. Names that begin with a dot fit no sign.
std::vector<std::wstring> filesNamed(const std::wstring& word);

}  // namespace quellard
