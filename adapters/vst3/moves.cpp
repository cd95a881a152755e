// SPDX-License-Identifier: ISC
#include "adapters/vst3/moves.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "adapters/vst3/parameters.h"
#include "rig/parameter_smoother.h"

namespace quellard {
namespace {

// How often a line is looked at, in frames: as often as the amplifier takes a step towards a new
// setting, at the same frames for all parameters, so that many lines cost no more cuts than one.
constexpr int kLineStep = ParameterSmoother::kStepFrames;

// Queues and points that are looked at, whatever the host says.
constexpr int kMostEntries = 1 << 16;

int entries(std::int32_t count) { return std::clamp(count, 0, kMostEntries); }

}  // namespace

BlockMoves::BlockMoves(v3_param_changes** changes, int frames) : frames_(frames) {
  const int queues =
      changes != nullptr ? entries(v3_cpp_obj(changes)->get_param_count(changes)) : 0;
  for (int i = 0; i < queues; ++i) {
    v3_param_value_queue** queue = v3_cpp_obj(changes)->get_param_data(changes, i);
    if (queue == nullptr) continue;
    const v3_param_id id = v3_cpp_obj(queue)->get_param_id(queue);
    if (!isVst3Parameter(id)) continue;
    Lane lane{.queue = queue, .points = entries(v3_cpp_obj(queue)->get_point_count(queue))};
    if (readPoint(lane)) lane.due = lane.to.frame;
    lanes_[id] = lane;
  }
}

int BlockMoves::nextFrame() const {
  int next = kNoFrame;
  for (const Lane& lane : lanes_) next = std::min(next, lane.due);
  return next;
}

double BlockMoves::Lane::valueAt(int frame) const {
  if (frame >= to.frame) return to.value;
  const double share = static_cast<double>(frame - from.frame) / (to.frame - from.frame);
  return from.value + (to.value - from.value) * share;
}

bool BlockMoves::readPoint(Lane& lane) const {
  lane.from = lane.to;
  while (lane.read < lane.points) {
    std::int32_t frame = 0;
    double value = std::numeric_limits<double>::quiet_NaN();
    if (v3_cpp_obj(lane.queue)->get_point(lane.queue, lane.read, &frame, &value) != V3_OK) break;
    ++lane.read;
    if (std::isnan(value)) continue;
    lane.to = {std::clamp(frame, lane.from.frame, frames_), std::clamp(value, 0.0, 1.0)};
    return true;
  }
  return false;
}

// A list jumps at its points: on the way from one entry to another those in between mean nothing.
void BlockMoves::schedule(v3_param_id id, int frame) {
  Lane& lane = lanes_[id];
  if (frame >= lane.to.frame && !readPoint(lane)) {
    lane.due = kNoFrame;
    return;
  }
  const bool isGradual = isKnob(id) && lane.from.value != lane.to.value;
  const int onTheWay = (frame / kLineStep + 1) * kLineStep;
  lane.due = isGradual ? std::min(onTheWay, lane.to.frame) : lane.to.frame;
}

}  // namespace quellard
