// SPDX-License-Identifier: ISC
// Numbers of frames, sides and parameters are int or, in files, std::int64_t, as hosts and the
// system give them; containers count in std::size_t. This is the way from the one to the other.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quellard {

// number: not negative.
constexpr std::size_t asSize(std::int64_t number) { return static_cast<std::size_t>(number); }

// A container's element. index: 0 to its length - 1; not checked.
template <typename Container>
constexpr auto& at(Container& container, std::int64_t index) {
  return container[asSize(index)];
}

}  // namespace quellard
