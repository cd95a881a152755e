// SPDX-License-Identifier: ISC
#include "tools/sweep/sweep_task.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <system_error>

#include "params/parameter_values.h"
#include "params/words.h"
#include "tools/common/errors.h"
#include "tools/common/parsing.h"
#include "tools/files/file_digest.h"
#include "tools/files/output_file.h"
#include "tools/files/utf8_path.h"
#include "tools/host/render.h"
#include "tools/settings/automation.h"
#include "tools/settings/knobs.h"
#include "tools/settings/rig_options.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

using Json = nlohmann::ordered_json;

std::string asText(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

template <typename Value>
Json orNull(const std::optional<Value>& value) {
  return value ? Json(*value) : Json();
}

double level(const HostedValues& values, int index) {
  return parseNumber(rigValueText(index, values[index])).value_or(0.0);
}

// By the names that chosen_settings.h reads.
Json settingsAsJson(const SweepTask& task) {
  const HostedValues& values = task.values;
  const int channel = channelFromSelect(values[kTypeParameter]);
  Json json = {{"channel", lowered(channelName(channel))}};
  for (const ParameterInfo& info : kParameters) {
    if (info.kind == ParameterKind::knob) json[info.symbol] = positionFromKnob(values[info.index]);
  }
  const bool gated = gateFromValue_dbfs(values[kGateParameter]).has_value();
  json["input"] = level(values, kInputParameter);
  json["gate"] = gated ? Json(level(values, kGateParameter)) : Json("off");
  json["output"] = level(values, kOutputParameter);
  json["cab"] = task.cabinet.file.empty() ? Json() : Json(task.cabinet.file.string());
  json["cab_level"] = task.cabinet.level_db;
  return json;
}

// What else the bits of the file depend on, but for the take.
Json conditionsAsJson(const SweepTask& task) {
  const bool hasCabinet = !task.cabinet.file.empty();
  return {{"settings", settingsAsJson(task)},
          {"cab_sha256", hasCabinet ? Json(task.cabinetSha256) : Json()},
          {"automation", task.automation ? Json(task.automation->path.string()) : Json()},
          {"automation_sha256", task.automation ? Json(task.automation->sha256) : Json()},
          {"mono", task.mono},
          {"tail_seconds", task.tailSeconds},
          {"block", task.blockLength},
          {"format", task.sampleFormat.empty() ? Json() : Json(task.sampleFormat)},
          {"quellard", QUELLARD_VERSION}};
}

Json plannedJson(const SweepTask& task) {
  Json row = {{"output", task.output},
              {"input", task.take.path.string()},
              {"input_sha256", task.take.sha256}};
  row.update(conditionsAsJson(task));
  return row;
}

void readSettings(const Json& settings, SweepTask& task) {
  HostedValues& values = task.values;
  values[kTypeParameter] =
      selectFromChannel(parseChannel(settings.at("channel").get<std::string>()));
  for (const ParameterInfo& info : kParameters) {
    if (info.kind != ParameterKind::knob) continue;
    values[info.index] = knobFromPosition(settings.at(info.symbol).get<double>());
  }
  values[kInputParameter] = valueFromLevel_db(settings.at("input").get<double>());
  values[kOutputParameter] = valueFromLevel_db(settings.at("output").get<double>());
  const Json& gate = settings.at("gate");
  values[kGateParameter] =
      gate.is_string() ? neutralValue(kGateParameter) : valueFromGate_dbfs(gate.get<double>());
  if (!settings.at("cab").is_null()) task.cabinet.file = settings.at("cab").get<std::string>();
  task.cabinet.level_db = settings.at("cab_level").get<double>();
}

void readConditions(const Json& row, SweepTask& task) {
  readSettings(row.at("settings"), task);
  if (!row.at("cab_sha256").is_null()) {
    task.cabinetSha256 = row.at("cab_sha256").get<std::string>();
  }
  if (!row.at("automation").is_null()) {
    task.automation = SourceFile{pathFrom(row.at("automation").get<std::string>()),
                                 row.at("automation_sha256").get<std::string>()};
  }
  task.mono = row.at("mono").get<bool>();
  task.tailSeconds = row.at("tail_seconds").get<double>();
  task.blockLength = row.at("block").get<int>();
  if (!row.at("format").is_null()) task.sampleFormat = row.at("format").get<std::string>();
}

struct ReadTask {
  SweepTask task;
  std::string known;
};

ReadTask readTask(const std::string& text) {
  try {
    const Json json = Json::parse(text);
    const Json& row = json.at("row");
    ReadTask read;
    read.task.folder = pathFrom(json.at("folder").get<std::string>());
    read.task.origin = json.at("origin").get<std::string>();
    read.task.output = row.at("output").get<std::string>();
    read.task.take = {row.at("input").get<std::string>(),
                      row.at("input_sha256").get<std::string>()};
    readConditions(row, read.task);
    read.known = json.at("known").get<std::string>();
    return read;
  } catch (const Json::exception&) {
    throw UsageError("not a task of a sweep");
  }
}

// A row that begins like this one has been made of the same.
std::string withoutEnd(std::string row) {
  row.back() = ',';
  return row;
}

bool isWhole(const SweepTask& task, const std::string& known) {
  if (!known.starts_with(withoutEnd(plannedRow(task)))) return false;
  const fs::path file = task.folder / pathFrom(task.output);
  std::error_code error;
  if (!fs::is_regular_file(file, error)) return false;
  const Json row = Json::parse(known, nullptr, false);
  return row.is_object() && row.value("sha256", "") == sha256OfFile(file);
}

void refuseChanged(const fs::path& file, const std::string& sha256) {
  if (sha256OfFile(file) == sha256) return;
  throw FileError(fmt::format("{} has changed since the sweep was planned", file.string()));
}

RenderSettings renderSettings(const SweepTask& task) {
  RenderSettings settings;
  for (int index = 1; index <= kNumStoredValues; ++index) {
    settings.rig.start.changes.push_back({index, task.values[index]});
  }
  settings.rig.values = task.values;
  settings.rig.blockLength = task.blockLength;
  settings.tailSeconds = task.tailSeconds;
  settings.mono = task.mono;
  settings.sampleFormat = task.sampleFormat;
  if (!task.cabinet.file.empty()) {
    settings.rig.cabinet = {task.origin / task.cabinet.file, task.cabinet.level_db};
    refuseChanged(settings.rig.cabinet.file, task.cabinetSha256);
  }
  if (task.automation) {
    const fs::path file = task.origin / task.automation->path;
    refuseChanged(file, task.automation->sha256);
    settings.moves = readAutomation(file, channelFromSelect(task.values[kTypeParameter]));
  }
  return settings;
}

std::string rowWithResults(const SweepTask& task, const RenderResult& result,
                           const std::string& sha256) {
  Json row = plannedJson(task);
  row.update({{"rate", result.rate},
              {"channels", result.channels},
              {"frames", result.frames},
              {"seconds", result.seconds},
              {"peak_dbfs", orNull(result.peak_dbfs)},
              {"loudness_lufs", orNull(result.loudness_lufs)},
              {"clipped_samples", result.clipped},
              {"late_moves", result.lateMoves},
              {"truncated", result.truncated},
              {"sha256", sha256}});
  return asText(row);
}

}  // namespace

std::string plannedRow(const SweepTask& task) { return asText(plannedJson(task)); }

std::string settingsId(const SweepTask& task) {
  constexpr std::size_t kDigits = 16;
  return sha256(asText(conditionsAsJson(task))).substr(0, kDigits);
}

std::string writeTask(const SweepTask& task, const std::string& known) {
  return asText({{"folder", task.folder.string()},
                 {"origin", task.origin.string()},
                 {"row", plannedJson(task)},
                 {"known", known}});
}

DoneTask runTask(const PluginModule& module, const std::string& text, Progress& progress) {
  const auto [task, known] = readTask(text);
  if (isWhole(task, known)) return {.row = known, .kept = true, .truncated = false};
  const fs::path take = task.origin / task.take.path;
  const fs::path file = task.folder / pathFrom(task.output);
  refuseChanged(take, task.take.sha256);
  const RenderSettings settings = renderSettings(task);
  makeFolder(file.parent_path());
  const RenderResult result = renderFile(module, take, file, settings, progress);
  return {.row = rowWithResults(task, result, sha256OfFile(file)),
          .kept = false,
          .truncated = result.truncated};
}

}  // namespace quellard
