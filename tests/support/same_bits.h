// SPDX-License-Identifier: ISC
#pragma once

#include <cstring>
#include <gtest/gtest.h>

namespace quellard::test {

// Compares every bit of every value: +0 and -0 differ, and so do two NaN with different bits.
template <class Values>
testing::AssertionResult sameBits(const Values& one, const Values& other) {
  if (one.size() != other.size())
    return testing::AssertionFailure() << one.size() << " values and " << other.size();
  for (std::size_t i = 0; i < one.size(); ++i) {
    if (std::memcmp(&one[i], &other[i], sizeof(one[i])) != 0)
      return testing::AssertionFailure() << "value " << i << ": " << one[i] << " and " << other[i];
  }
  return testing::AssertionSuccess();
}

}  // namespace quellard::test
