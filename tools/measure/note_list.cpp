// SPDX-License-Identifier: ISC
#include "tools/measure/note_list.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fmt/format.h>

#include "params/sizes.h"
#include "rig/tuner.h"
#include "tools/common/errors.h"
#include "tools/common/interrupt.h"
#include "tools/common/json_text.h"
#include "tools/files/audio_file.h"
#include "tools/files/streams.h"

namespace quellard {
namespace {

using Json = nlohmann::ordered_json;

constexpr double kStepSeconds = 0.010;
constexpr int kShortestNote = 10;     // readings
constexpr int kLongestGap = 10;       // readings
constexpr double kSame_cents = 65.0;  // more than half a semitone, so that no note flickers

struct Reading {
  double time_seconds;
  PitchReading pitch;
};

double medianOf(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

double toMilliseconds(double seconds) { return std::round(1000.0 * seconds) / 1000.0; }

// Gathers readings into notes.
class NoteBuilder {
 public:
  NoteBuilder(double reference_hz, std::vector<HeardNote>& notes)
      : reference_hz_(reference_hz), notes_(notes) {}

  void add(const Reading& reading) {
    const double frequency_hz = reading.pitch.frequency_hz;
    if (frequency_hz <= 0.0) {
      if (++gap_ >= kLongestGap) finish();
      return;
    }
    if (!readings_.empty() &&
        std::abs(centsAbove(note_, frequency_hz, reference_hz_)) > kSame_cents) {
      finish();
    }
    if (readings_.empty()) note_ = nearestNote(frequency_hz, reference_hz_).number;
    readings_.push_back(reading);
    gap_ = 0;
  }

  void finish() {
    if (readings_.size() >= kShortestNote) notes_.push_back(summary());
    readings_.clear();
  }

 private:
  HeardNote summary() const {
    std::vector<double> frequencies, clarities;
    double level_dbfs = PitchReading::kSilence_dbfs;
    for (const Reading& reading : readings_) {
      frequencies.push_back(reading.pitch.frequency_hz);
      clarities.push_back(reading.pitch.clarity);
      level_dbfs = std::max(level_dbfs, reading.pitch.level_dbfs);
    }
    const double start = readings_.front().time_seconds;
    return {.start_seconds = toMilliseconds(start),
            .seconds = toMilliseconds(readings_.back().time_seconds - start + kStepSeconds),
            .frequency_hz = medianOf(std::move(frequencies)),
            .level_dbfs = level_dbfs,
            .clarity = medianOf(std::move(clarities))};
  }

  double reference_hz_;
  std::vector<HeardNote>& notes_;
  std::vector<Reading> readings_;
  int note_ = 0;
  int gap_ = 0;  // readings without a note since the last one
};

// A reading's time is the middle of what the tuner judges.
class Listener {
 public:
  Listener(AudioReader& reader, const TuningSettings& settings, HeardFile& heard)
      : reader_(reader),
        heard_(heard),
        builder_(settings.reference_hz, heard.notes),
        step_(std::llround(kStepSeconds * reader.rate())) {
    const auto channels = asSize(reader.channels());
    interleaved_.resize(asSize(step_) * channels);
    mono_.resize(asSize(step_));
  }

  void run() {
    if (!tuner_.prepare(reader_.rate())) {
      throw FileError(fmt::format("cannot tune by {} Hz, only by {} to {} Hz", reader_.rate(),
                                  Tuner::kLowestRate, Tuner::kHighestRate));
    }
    std::int64_t read = step_;
    while (read == step_) {
      throwIfInterrupted();
      read = reader_.read(interleaved_.data(), step_);
      heard_.seconds += static_cast<double>(read) / reader_.rate();
      mix(read);
      hear(heard_.seconds);
    }
    builder_.finish();
    heard_.truncated = reader_.truncated();
  }

 private:
  void mix(std::int64_t frames) {
    std::fill(mono_.begin(), mono_.end(), 0.0);
    const auto channels = asSize(reader_.channels());
    for (std::size_t i = 0; i < asSize(frames) * channels; ++i) {
      mono_[i / channels] += interleaved_[i] / static_cast<double>(channels);
    }
  }

  void hear(double now_seconds) {
    tuner_.push(mono_.data(), static_cast<int>(step_));
    builder_.add({std::max(0.0, now_seconds - Tuner::kDelaySeconds), tuner_.read()});
  }

  AudioReader& reader_;
  HeardFile& heard_;
  NoteBuilder builder_;
  Tuner tuner_;
  std::int64_t step_;  // frames
  std::vector<double> interleaved_;
  std::vector<double> mono_;
};

std::string row(const HeardNote& heard, const TuningSettings& settings) {
  const Note note = nearestNote(heard.frequency_hz, settings.reference_hz);
  std::string text =
      fmt::format("{:8.2f} {:7.2f}  {:<4} {:+6.1f} {:9.2f}", heard.start_seconds, heard.seconds,
                  noteName(note.number), note.cents, heard.frequency_hz);
  if (settings.tuning != nullptr) {
    const auto [string, open, cents] =
        nearestString(*settings.tuning, heard.frequency_hz, settings.reference_hz);
    text += fmt::format("  {:>6}  {:<4} {:+8.1f}", string, noteName(open), cents);
  }
  return text + '\n';
}

std::string heading(const TuningSettings& settings) {
  const char* const strings = settings.tuning != nullptr ? "  string  open    cents" : "";
  return fmt::format("{:>8} {:>7}  {:<4} {:>6} {:>9}{}\n", "seconds", "length", "note", "cents",
                     "Hz", strings);
}

Json asJson(const HeardNote& heard, const TuningSettings& settings) {
  const Note note = nearestNote(heard.frequency_hz, settings.reference_hz);
  Json json = {{"start_seconds", heard.start_seconds},
               {"seconds", heard.seconds},
               {"note", noteName(note.number)},
               {"midi_note", note.number},
               {"cents", note.cents},
               {"frequency_hz", heard.frequency_hz},
               {"level_dbfs", heard.level_dbfs},
               {"clarity", heard.clarity}};
  if (settings.tuning != nullptr) {
    const auto [string, open, cents] =
        nearestString(*settings.tuning, heard.frequency_hz, settings.reference_hz);
    json.update({{"string", string}, {"string_note", noteName(open)}, {"string_cents", cents}});
  }
  return json;
}

Json asJson(const HeardFile& file, const TuningSettings& settings) {
  Json json = {{"input", file.input.string()}};
  if (!file.error.empty()) {
    json["error"] = file.error;
    return json;
  }
  Json notes = Json::array();
  for (const HeardNote& note : file.notes) notes.push_back(asJson(note, settings));
  json.update({{"seconds", file.seconds}, {"truncated", file.truncated}, {"notes", notes}});
  return json;
}

}  // namespace

HeardFile listenTo(const std::filesystem::path& input, const TuningSettings& settings) {
  HeardFile heard;
  heard.input = input;
  try {
    Listener(*AudioReader::open(input), settings, heard).run();
  } catch (const Interrupted&) {
    throw;
  } catch (const std::exception& error) {
    heard.error = explanation(error);
  }
  return heard;
}

std::string listNotes(const std::vector<HeardFile>& files, const TuningSettings& settings) {
  std::string text;
  for (const HeardFile& file : files) {
    if (!file.error.empty()) continue;
    const std::string name =
        isStandardInput(file.input) ? "standard input" : oneLine(file.input.string());
    if (files.size() > 1) text += fmt::format("{}{}:\n", text.empty() ? "" : "\n", name);
    if (file.notes.empty()) {
      text += "no note\n";
      continue;
    }
    text += heading(settings);
    for (const HeardNote& note : file.notes) text += row(note, settings);
  }
  return text;
}

std::string notesAsJson(const std::vector<HeardFile>& files, const TuningSettings& settings) {
  Json all = Json::array();
  for (const HeardFile& file : files) all.push_back(asJson(file, settings));
  const Json tuning = settings.tuning != nullptr ? Json(settings.tuning->name) : Json();
  const Json json = {
      {"reference_hz", settings.reference_hz}, {"tuning", tuning}, {"files", std::move(all)}};
  return jsonPage(json);
}

}  // namespace quellard
