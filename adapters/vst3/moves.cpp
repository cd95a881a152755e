// SPDX-License-Identifier: ISC
#include "adapters/vst3/moves.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "adapters/vst3/parameters.h"
#include "rig/parameter_smoother.h"

namespace quellard {
namespace {

// How often a value is taken from the line between two points, in frames: as often as the smoother
// steps towards a new value. All parameters use multiples of it, so that several moving parameters
// cut a block no more often than one.
constexpr int kLineStep = ParameterSmoother::kStepFrames;

// Limits how many queues and points are read, whatever count the host gives.
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
    QueueReader reader{.queue = queue,
                       .points = entries(v3_cpp_obj(queue)->get_point_count(queue))};
    if (readPoint(reader)) reader.due = reader.to.frame;
    readers_[id] = reader;
  }
}

int BlockMoves::nextFrame() const {
  int next = kNoFrame;
  for (const QueueReader& reader : readers_) next = std::min(next, reader.due);
  return next;
}

double BlockMoves::QueueReader::valueAt(int frame) const {
  if (frame >= to.frame) return to.value;
  const double share = static_cast<double>(frame - from.frame) / (to.frame - from.frame);
  return from.value + (to.value - from.value) * share;
}

bool BlockMoves::readPoint(QueueReader& reader) const {
  reader.from = reader.to;
  while (reader.read < reader.points) {
    std::int32_t frame = 0;
    double value = std::numeric_limits<double>::quiet_NaN();
    if (v3_cpp_obj(reader.queue)->get_point(reader.queue, reader.read, &frame, &value) != V3_OK)
      break;
    ++reader.read;
    if (std::isnan(value)) continue;
    reader.to = {std::clamp(frame, reader.from.frame, frames_), std::clamp(value, 0.0, 1.0)};
    return true;
  }
  return false;
}

// Knobs and levels follow the line. Lists jump at the points, since the entries between two others
// have no meaning.
void BlockMoves::schedule(v3_param_id id, int frame) {
  QueueReader& reader = readers_[id];
  if (frame >= reader.to.frame && !readPoint(reader)) {
    reader.due = kNoFrame;
    return;
  }
  const bool isGradual = !isList(id) && reader.from.value != reader.to.value;
  const int nextStep = (frame / kLineStep + 1) * kLineStep;
  reader.due = isGradual ? std::min(nextStep, reader.to.frame) : reader.to.frame;
}

}  // namespace quellard
