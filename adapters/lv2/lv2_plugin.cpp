// SPDX-License-Identifier: ISC
#include "adapters/lv2/lv2_plugin.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "params/decibels.h"
#include "rig/value_text.h"

namespace quellard {

Lv2Plugin::Lv2Plugin(const Lv2Variant& variant, double rate, int maxFrames) : amp_(variant.sides) {
  for (float& seen : seen_) seen = std::numeric_limits<float>::quiet_NaN();
  if (!amp_.prepare(rate, maxFrames)) throw std::invalid_argument("sample rate");
}

void Lv2Plugin::connect(std::uint32_t port, void* data) {
  auto* const samples = static_cast<float*>(data);
  if (const int parameter = lv2ParameterOf(port, amp_.sides()); parameter != 0) {
    controls_[parameter] = samples;
    return;
  }
  const auto sides = static_cast<std::uint32_t>(amp_.sides());
  const std::uint32_t audio = port - kLv2FirstAudioPort;
  if (audio < sides) {
    inputs_[audio] = samples;
  } else if (audio < 2 * sides) {
    outputs_[audio - sides] = samples;
  } else if (port == lv2EnabledPort(amp_.sides())) {
    enabled_ = samples;
  } else if (const std::uint32_t report = port - lv2ReportPort(0, amp_.sides());
             report < kNumLv2Reports) {
    reports_[report] = samples;
    amp_.measureLevels(reports_[kLv2InputPeak] != nullptr || reports_[kLv2OutputPeak] != nullptr);
  }
}

void Lv2Plugin::readControls() {
  for (int index = 1; index <= kNumHostedValues; ++index) {
    if (controls_[index] == nullptr) continue;
    const float control = *controls_[index];
    if (control == seen_[index] || std::isnan(control)) continue;
    seen_[index] = control;
    amp_.setValue(index, valueFromControl(index, control));
  }
  // Written so that NaN, like every value above 0, leaves the amplifier in the signal.
  amp_.setBypass(enabled_ != nullptr && *enabled_ <= 0.0F);
}

float Lv2Plugin::PeakReport::decibels(float peak) {
  if (peak == peak_) return decibels_;
  peak_ = peak;
  const auto level = static_cast<float>(decibelsFromGain(static_cast<double>(peak)));
  decibels_ = std::clamp(level, kLv2LowestPeak_db, kLv2HighestPeak_db);
  return decibels_;
}

void Lv2Plugin::writeReports() {
  const auto write = [&](Lv2ReportIndex report, float value) {
    if (reports_[report] != nullptr) *reports_[report] = value;
  };
  write(kLv2InputPeak, inputPeak_.decibels(amp_.inputPeak()));
  write(kLv2OutputPeak, outputPeak_.decibels(amp_.outputPeak()));
  write(kLv2GateOpen, amp_.gateIsOpen() ? 1.0F : 0.0F);
}

void Lv2Plugin::run(std::uint32_t frames) {
  readControls();
  const AudioChannels in{inputs_.data(), nullptr, amp_.sides()};
  const AudioChannels out{outputs_.data(), nullptr, amp_.sides()};
  constexpr std::uint32_t kMost = std::numeric_limits<std::int32_t>::max();
  amp_.play(in, out, 0, static_cast<int>(std::min(frames, kMost)));
  writeReports();
}

}  // namespace quellard
