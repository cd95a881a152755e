// SPDX-License-Identifier: ISC
// A block's parameter moves. A VST3 host sends a queue of points for each parameter that moves:
// frames and values, which stand for a line through the points. Here all queues of a block are
// merged into one sequence of values in the order of time.
#pragma once

#include <array>
#include <climits>
#include <travesty/audio_processor.h>

#include "adapters/vst3/identity.h"

namespace quellard {

// [audio thread] Allocates nothing. What a host gets wrong is read as well as it can be: unknown
// parameters are left out, frames before the preceding point or outside the block are moved to the
// nearest that is left, values are held within 0..1, NaN is no point, and a queue ends at the first
// point that cannot be read. Of two queues for one parameter the second counts.
class BlockMoves {
 public:
  // changes: null for no moves. frames: of the block, 0 to kMostFrames.
  BlockMoves(v3_param_changes** changes, int frames);

  static constexpr int kNoFrame = INT_MAX;
  // Beyond this a block's last frames could not be told from kNoFrame.
  static constexpr int kMostFrames = 1 << 30;
  // When the next value is due: 0 to frames, or kNoFrame if nothing moves any more.
  int nextFrame() const;

  // Calls move(id, normalised) for all that is due at this frame, which nextFrame() has given.
  template <typename Move>
  void take(int frame, const Move& move) {
    for (v3_param_id id = 0; id < lanes_.size(); ++id) {
      while (lanes_[id].due == frame) {
        const double value = lanes_[id].valueAt(frame);
        move(id, value);
        schedule(id, frame);
      }
    }
  }

 private:
  struct Point {
    int frame;
    double value;
  };

  // What is left of one parameter's queue: the line from the last point to the one ahead.
  struct Lane {
    v3_param_value_queue** queue = nullptr;
    int points = 0;
    int read = 0;
    Point from{};
    Point to{};
    int due = kNoFrame;

    double valueAt(int frame) const;
  };

  bool readPoint(Lane& lane) const;
  void schedule(v3_param_id id, int frame);

  int frames_;
  std::array<Lane, kNumVst3Parameters> lanes_{};
};

}  // namespace quellard
