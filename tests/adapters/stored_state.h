// SPDX-License-Identifier: ISC
#pragma once

#include <fstream>
#include <iterator>
#include <string>

#include "tests/adapters/format_suite.h"

namespace quellard::test {

// The example of a state that the repository keeps for each version.
inline Bytes storedState(const char* file) {
  std::ifstream stream(std::string(QUELLARD_TEST_DATA "/") + file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace quellard::test
