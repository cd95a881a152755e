// SPDX-License-Identifier: ISC
#include "tools/host/render.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <fmt/format.h>

#include "params/sizes.h"
#include "tools/common/errors.h"
#include "tools/common/interrupt.h"
#include "tools/files/audio_file.h"
#include "tools/files/audio_format.h"
#include "tools/files/streams.h"
#include "tools/host/meter.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

using Clock = std::chrono::steady_clock;

// The amplifiers' input: the file, mixed down to mono if asked for, followed by silence for the
// tail.
class Source {
 public:
  Source(const fs::path& path, const RenderSettings& settings)
      : reader_(AudioReader::open(path)), mono_(settings.mono && reader_->channels() > 1) {
    if (rate() < PluginModule::kLowestRate || rate() > PluginModule::kHighestRate) {
      throw FileError(fmt::format("{}: cannot play {} Hz, only {} to {} Hz", path.string(), rate(),
                                  PluginModule::kLowestRate, PluginModule::kHighestRate));
    }
    tail_ = std::llround(settings.tailSeconds * rate());
    expectedFrames_ = reader_->frames() > 0 ? reader_->frames() + tail_ : 0;
  }

  int rate() const { return reader_->rate(); }
  int channels() const { return mono_ ? 1 : reader_->channels(); }
  bool truncated() const { return reader_->truncated(); }

  // 0 if unknown.
  std::int64_t expectedFrames() const { return expectedFrames_; }

  // Reads up to `frames` frames into the block and returns their number, which is less only at the
  // end.
  int read(std::vector<double>& block, int frames) {
    block.assign(asSize(frames) * inputChannels(), 0.0);
    const std::int64_t played = ended_ ? 0 : reader_->read(block.data(), frames);
    ended_ = played < frames;
    const std::int64_t silent = std::min(frames - played, tail_);
    tail_ -= silent;
    if (mono_) mixDown(block);
    return static_cast<int>(played + silent);
  }

 private:
  std::size_t inputChannels() const { return asSize(reader_->channels()); }

  void mixDown(std::vector<double>& block) const {
    const std::size_t width = inputChannels();
    for (std::size_t frame = 0; frame < block.size() / width; ++frame) {
      double sum = 0.0;
      for (std::size_t c = 0; c < width; ++c) sum += block[frame * width + c];
      block[frame] = sum / static_cast<double>(width);
    }
    block.resize(block.size() / width);
  }

  std::unique_ptr<AudioReader> reader_;
  bool mono_;
  bool ended_ = false;
  std::int64_t tail_ = 0;  // frames of silence still to come
  std::int64_t expectedFrames_ = 0;
};

// Splits and joins the channels of blocks around the rig, which plays one array each.
class Channels {
 public:
  explicit Channels(int count) : sides_(asSize(count)), at_(asSize(count)) {}

  // Plays in place.
  void play(RenderRig& rig, std::vector<double>& interleaved, int frames) {
    for (std::size_t c = 0; c < sides_.size(); ++c) {
      sides_[c].resize(asSize(frames));
      for (std::size_t i = 0; i < sides_[c].size(); ++i) {
        sides_[c][i] = interleaved[i * sides_.size() + c];
      }
      at_[c] = sides_[c].data();
    }
    rig.process(at_, frames);
    for (std::size_t c = 0; c < sides_.size(); ++c) {
      for (std::size_t i = 0; i < sides_[c].size(); ++i) {
        interleaved[i * sides_.size() + c] = sides_[c][i];
      }
    }
  }

 private:
  std::vector<std::vector<double>> sides_;
  std::vector<double*> at_;
};

double share(std::int64_t part, std::int64_t whole) {
  return whole == 0 ? 0.0 : static_cast<double>(part) / static_cast<double>(whole);
}

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

}  // namespace

BlockPlan::BlockPlan(const std::vector<Move>& moves, double rate, int blockLength)
    : moves_(moves), blockLength_(blockLength) {
  constexpr double kBeyondAnyFile = 1e15;
  for (const Move& move : moves) {
    frames_.push_back(std::llround(std::min(move.seconds * rate, kBeyondAnyFile)));
  }
}

int BlockPlan::next() {
  begin_ = end_;
  end_ = begin_ + blockLength_;
  const auto later = std::upper_bound(frames_.begin(), frames_.end(), begin_);
  if (later != frames_.end()) end_ = std::min(end_, *later);
  return static_cast<int>(end_ - begin_);
}

std::vector<ParameterChange> BlockPlan::due() {
  std::vector<ParameterChange> changes;
  for (; nextMove_ < frames_.size() && frames_[nextMove_] <= begin_; ++nextMove_) {
    changes.push_back(moves_[nextMove_].change);
  }
  return changes;
}

RenderResult renderFile(const PluginModule& module, const fs::path& input, const fs::path& output,
                        const RenderSettings& settings, Progress& progress) {
  const Clock::time_point begin = Clock::now();
  Source source(input, settings);
  const int rate = source.rate();
  progress.expect(source.expectedFrames());
  const int format = formatFor(output, settings.sampleFormat,
                               isStream(output) ? settings.streamType : std::string());
  const auto writer =
      AudioWriter::open(output, format, rate, source.channels(), source.expectedFrames());
  RenderRig rig(module, source.channels(), rate, settings.rig);
  rig.measureInput();
  Channels channels(source.channels());
  Meter meter(rate, source.channels());
  BlockPlan plan(settings.moves, rate, settings.rig.blockLength);

  // Moves at time 0 belong to the starting point and do not glide.
  rig.begin(plan.due(), settings.preroll);
  std::vector<double> block;
  std::int64_t frames = 0;
  while (const int length = source.read(block, plan.next())) {
    throwIfInterrupted();
    rig.move(plan.due());
    channels.play(rig, block, length);
    meter.add(block.data(), length);
    writer->write(block.data(), length);
    progress.advance(length);
    frames += length;
  }
  writer->finish();
  return {.rate = rate,
          .channels = source.channels(),
          .frames = frames,
          .seconds = static_cast<double>(frames) / rate,
          .elapsed = secondsSince(begin),
          .inputPeak_dbfs = asDecibels(rig.inputPeak()),
          .gateClosed = share(rig.gateClosedFrames(), frames),
          .peak_dbfs = meter.peak_dbfs(),
          .loudness_lufs = meter.loudness_lufs(),
          .clipped = writer->clipped(),
          .lateMoves = plan.left(),
          .truncated = source.truncated()};
}

}  // namespace quellard
