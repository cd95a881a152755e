// SPDX-License-Identifier: ISC
// A block's parameter moves. For each parameter that moves, a VST3 host sends a queue of points
// (frame, value), which describe straight lines from point to point. Here all queues of a block are
// merged into one sequence of values in the order of time.
#pragma once

#include <array>
#include <climits>
#include <travesty/audio_processor.h>

#include "adapters/vst3/identity.h"

namespace quellard {

// [audio thread] Allocates nothing. Invalid input is tolerated: unknown parameters and points with
// NaN are ignored, frames outside the block or before the preceding point are moved to the nearest
// allowed one, values are limited to 0..1, and a queue ends at the first point that cannot be read.
// Of two queues for one parameter the second counts.
class BlockMoves {
 public:
  // changes: null for no moves. frames: the block's length, 0 to kMostFrames.
  BlockMoves(v3_param_changes** changes, int frames);

  static constexpr int kNoFrame = INT_MAX;
  // With more, the last frames of a block could not be distinguished from kNoFrame.
  static constexpr int kMostFrames = 1 << 30;
  // The frame of the next value, 0 to frames; kNoFrame after the last.
  int nextFrame() const;

  // Calls move(id, normalised) for every value of this frame, which nextFrame() has returned.
  template <typename Move>
  void applyAt(int frame, const Move& move) {
    for (v3_param_id id = 0; id < readers_.size(); ++id) {
      while (readers_[id].due == frame) {
        const double value = readers_[id].valueAt(frame);
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

  // The position in one parameter's queue: on the line between two of its points.
  struct QueueReader {
    v3_param_value_queue** queue = nullptr;
    int points = 0;
    int read = 0;
    Point from{};
    Point to{};
    int due = kNoFrame;

    double valueAt(int frame) const;
  };

  bool readPoint(QueueReader& reader) const;
  void schedule(v3_param_id id, int frame);

  int frames_;
  std::array<QueueReader, kNumVst3Parameters> readers_{};
};

}  // namespace quellard
