// SPDX-License-Identifier: ISC
// Redirects standard error to /dev/null while an object of this class exists, for all threads: the
// MPEG decoder prints messages about damaged files there.
#pragma once

namespace quellard {

class MutedStderr {
 public:
  explicit MutedStderr(bool mute);
  ~MutedStderr();
  MutedStderr(const MutedStderr&) = delete;
  MutedStderr& operator=(const MutedStderr&) = delete;

 private:
  bool mute_;
};

}  // namespace quellard
