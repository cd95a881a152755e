// SPDX-License-Identifier: ISC
// Plays standard input through the VINTAGE channel, with every knob at 5, to standard output.
// Samples are doubles, mono, at 44100 Hz:  quellard_pipe <guitar.raw >amped.raw
#include <array>
#include <cstdio>

#include "engine/amplifier.h"

int main() {
  quellard::Amplifier amplifier;
  for (std::atomic<float>& knob : amplifier.controlValues) knob = 0.5f;
  amplifier.typeValue = 0.5f;  // the channel selector
  amplifier.prepare(44100.0);

  std::array<double, 512> block = {};
  // The first block glides to the knobs. One of no frames glides there unheard.
  amplifier.processBlock(block.data(), block.data(), 0);
  while (const std::size_t frames = std::fread(block.data(), sizeof(double), block.size(), stdin)) {
    amplifier.processBlock(block.data(), block.data(), static_cast<int>(frames));
    std::fwrite(block.data(), sizeof(double), frames, stdout);
  }
}
