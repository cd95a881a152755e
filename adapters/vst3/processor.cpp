// SPDX-License-Identifier: ISC
// VST3's audio processor: speaker arrangements, set-up and blocks.
#include <algorithm>
#include <cmath>

#include "adapters/vst3/moves.h"
#include "adapters/vst3/vst3_plugin.h"

namespace quellard {
namespace {

v3_speaker_arrangement arrangementOf(const Vst3Plugin& plugin) {
  return plugin.amp.sides() == HostedAmp::kMono ? V3_SPEAKER_M : V3_SPEAKER_L | V3_SPEAKER_R;
}

// V3_FALSE declines an arrangement without an error: the host then asks for the plug-in's own.
v3_result setArrangements(void* self, v3_speaker_arrangement* inputs, std::int32_t ins,
                          v3_speaker_arrangement* outputs, std::int32_t outs) {
  if (ins < 0 || outs < 0) return V3_INVALID_ARG;
  if ((ins > 0 && inputs == nullptr) || (outs > 0 && outputs == nullptr)) return V3_INVALID_ARG;
  if (ins != 1 || outs != 1) return V3_FALSE;
  const v3_speaker_arrangement ours = arrangementOf(Vst3Plugin::of(self));
  return *inputs == ours && *outputs == ours ? V3_TRUE : V3_FALSE;
}

v3_result getArrangement(void* self, std::int32_t direction, std::int32_t bus,
                         v3_speaker_arrangement* arrangement) {
  const bool isBus = (direction == V3_INPUT || direction == V3_OUTPUT) && bus == 0;
  if (!isBus || arrangement == nullptr) return V3_INVALID_ARG;
  *arrangement = arrangementOf(Vst3Plugin::of(self));
  return V3_OK;
}

bool isSampleSize(std::int32_t size) { return size == V3_SAMPLE_32 || size == V3_SAMPLE_64; }

v3_result canProcess(void*, std::int32_t size) { return isSampleSize(size) ? V3_TRUE : V3_FALSE; }

std::uint32_t getLatency(void*) { return 0; }

// While active, the rate must stay. Everything else may change, since each block carries its own
// length and sample size.
v3_result setUp(void* self, v3_process_setup* setup) {
  if (setup == nullptr || !isSampleSize(setup->symbolic_sample_size)) return V3_INVALID_ARG;
  const auto rate = static_cast<float>(setup->sample_rate);  // as the effect hears it
  if (!std::isfinite(rate) || rate <= 0.0F || setup->max_block_size < 1) return V3_INVALID_ARG;
  Vst3Plugin& plugin = Vst3Plugin::of(self);
  if (plugin.active && setup->sample_rate != plugin.setup.sample_rate) return V3_FALSE;
  plugin.setup = *setup;
  return V3_OK;
}

// Hosts call it on either thread, even while a block is played, so that the reset is left to the
// next block.
v3_result setProcessing(void* self, v3_bool state) {
  if (state != 0) Vst3Plugin::of(self).startsAnew = true;
  return V3_OK;
}

// The channels of the first bus, as many as the plug-in has. Hosts may leave out buses, channels
// and buffers.
AudioChannels channelsOf(const v3_audio_bus_buffers* buses, std::int32_t count,
                         const v3_process_data& block, int sides) {
  if (buses == nullptr || count < 1) return {};
  const int channels = std::min(buses->num_channels, sides);
  if (block.symbolic_sample_size == V3_SAMPLE_64) {
    return {.doubles = buses->channel_buffers_64, .count = channels};
  }
  return {.floats = buses->channel_buffers_32, .count = channels};
}

template <typename Sample>
void silence(Sample* const* channels, int count, int begin, int end) {
  for (int i = 0; channels != nullptr && i < count; ++i) {
    if (channels[i] != nullptr) std::fill(channels[i] + begin, channels[i] + end, Sample{0});
  }
}

// While inactive, another thread may be building the amplifier's effects.
void playPiece(Vst3Plugin& plugin, bool active, const AudioChannels& in, const AudioChannels& out,
               int begin, int end) {
  if (active) return plugin.amp.play(in, out, begin, end);
  silence(out.floats, out.count, begin, end);
  silence(out.doubles, out.count, begin, end);
}

// A block without frames only carries parameter changes and may come while inactive.
v3_result process(void* self, v3_process_data* block) {
  if (block == nullptr || !isSampleSize(block->symbolic_sample_size)) return V3_INVALID_ARG;
  Vst3Plugin& plugin = Vst3Plugin::of(self);
  const bool active = plugin.active;
  const int frames = std::clamp(block->nframes, 0, BlockMoves::kMostFrames);
  const int sides = plugin.amp.sides();
  const AudioChannels in = channelsOf(block->inputs, block->num_input_buses, *block, sides);
  const AudioChannels out = channelsOf(block->outputs, block->num_output_buses, *block, sides);
  if (active && plugin.startsAnew.exchange(false)) plugin.amp.reset();

  BlockMoves moves(block->input_params, frames);
  int done = 0;
  for (int next = moves.nextFrame(); next <= frames; next = moves.nextFrame()) {
    if (next > done) playPiece(plugin, active, in, out, done, next);
    moves.applyAt(next, [&](v3_param_id id, double value) { plugin.moveInBlock(id, value); });
    done = next;
  }
  if (done < frames) playPiece(plugin, active, in, out, done, frames);
  plugin.tellThrough(block->output_params);
  if (out.count > 0) block->outputs->channel_silence_bitset = 0;
  return active || frames == 0 ? V3_OK : V3_NOT_INITIALIZED;
}

std::uint32_t getTail(void* self) {
  return HostedAmp::tailFrames(Vst3Plugin::of(self).setup.sample_rate);
}

}  // namespace

// In the order of v3_audio_processor.
constexpr v3_audio_processor_cpp kVst3Processor = {
    kVst3Unknown<Vst3Plugin>,
    {setArrangements, getArrangement, canProcess, getLatency, setUp, setProcessing, process,
     getTail},
};

// The plug-in needs nothing of the transport's time and tempo.
constexpr v3_process_context_requirements_cpp kVst3ContextNeeds = {
    kVst3Unknown<Vst3Plugin>,
    {.get_process_context_requirements = [](void*) { return std::uint32_t{0}; }},
};

}  // namespace quellard
