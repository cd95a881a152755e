// SPDX-License-Identifier: ISC
// The wildcards * and ? in names of files. Shells elsewhere expand them; Windows leaves that to the
// programs.
#pragma once

#include <string>
#include <vector>

namespace quellard {

// The files and folders that a word of the command line stands for, sorted; the word itself where
// its last part has no wildcards, or nothing matches. A leading wildcard matches no dot.
std::vector<std::wstring> expandWildcards(const std::wstring& word);

}  // namespace quellard
