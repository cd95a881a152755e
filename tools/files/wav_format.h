// SPDX-License-Identifier: ISC
// The samples of WAV files that a build without libsndfile reads and writes.
#pragma once

namespace quellard {

// In the order in which formatFor() prefers them.
enum WavFormat { kNoWav, kWavFloat, kWavPcm32, kWavPcm24, kWavPcm16, kWavDouble, kWavPcm8 };

}  // namespace quellard
