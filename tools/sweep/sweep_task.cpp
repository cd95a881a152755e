// SPDX-License-Identifier: ISC
#include "tools/sweep/sweep_task.h"

#include <fmt/format.h>
#include <memory>
#include <system_error>

#include "params/parameter_values.h"
#include "tools/common/errors.h"
#include "tools/common/json_text.h"
#include "tools/files/file_digest.h"
#include "tools/files/output_file.h"
#include "tools/files/utf8_path.h"
#include "tools/host/render.h"
#include "tools/settings/automation.h"
#include "tools/settings/settings_json.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

using Json = nlohmann::ordered_json;

template <typename Value>
Json orNull(const std::optional<Value>& value) {
  return value ? Json(*value) : Json();
}

Json plannedJson(const SweepTask& task) {
  const SweepConditions& common = *task.common;
  const bool hasCabinet = !task.cabinet.file.empty();
  const std::optional<SourceFile>& automation = common.automation;
  return {{"output", task.output},
          {"input", task.take->path.string()},
          {"input_sha256", task.take->sha256},
          {"settings", settingsAsJson(task.values, task.cabinet)},
          {"cab_sha256", hasCabinet ? Json(task.cabinetSha256) : Json()},
          {"automation", automation ? Json(automation->path.string()) : Json()},
          {"automation_sha256", automation ? Json(automation->sha256) : Json()},
          {"mono", common.mono},
          {"tail_seconds", common.tailSeconds},
          {"block", common.blockLength},
          {"format", common.sampleFormat.empty() ? Json() : Json(common.sampleFormat)},
          {"quellard", QUELLARD_VERSION}};
}

// What the bits of the file depend on. The digests of files count, not the names by which they were
// given: a sweep may be resumed from another folder.
Json identityOf(const Json& row) {
  Json identity;
  for (const char* key : {"input_sha256", "settings", "cab_sha256", "automation_sha256", "mono",
                          "tail_seconds", "block", "format", "quellard"}) {
    identity[key] = row.at(key);
  }
  identity.at("settings").erase("cab");
  return identity;
}

SweepTask taskFromJson(const Json& json) {
  const Json& row = json.at("row");
  SweepConditions common;
  common.folder = pathFrom(json.at("folder").get<std::string>());
  common.origin = pathFrom(json.at("origin").get<std::string>());
  common.mono = row.at("mono").get<bool>();
  common.tailSeconds = row.at("tail_seconds").get<double>();
  common.blockLength = row.at("block").get<int>();
  if (!row.at("format").is_null()) common.sampleFormat = row.at("format").get<std::string>();
  if (!row.at("automation").is_null()) {
    common.automation = SourceFile{pathFrom(row.at("automation").get<std::string>()),
                                   row.at("automation_sha256").get<std::string>()};
  }
  SweepTask task;
  task.output = row.at("output").get<std::string>();
  task.take = std::make_shared<SourceFile>(SourceFile{pathFrom(row.at("input").get<std::string>()),
                                                      row.at("input_sha256").get<std::string>()});
  settingsFromJson(row.at("settings"), task.values, task.cabinet);
  if (!row.at("cab_sha256").is_null()) {
    task.cabinetSha256 = row.at("cab_sha256").get<std::string>();
  }
  task.common = std::make_shared<SweepConditions>(std::move(common));
  return task;
}

struct ReadTask {
  SweepTask task;
  std::string known;
};

ReadTask readTask(const std::string& text) {
  try {
    const Json json = Json::parse(text);
    return {taskFromJson(json), json.at("known").get<std::string>()};
  } catch (const Json::exception&) {
    throw UsageError("not a task of a sweep");
  }
}

fs::path fileOf(const SweepTask& task) { return task.common->folder / pathFrom(task.output); }

// The row with the known results, where they are those of this task and the file is whole.
std::optional<Json> keptRow(const SweepTask& task, const std::string& known) {
  const Json before = Json::parse(known, nullptr, false);
  std::error_code error;
  if (!before.is_object() || !fs::is_regular_file(fileOf(task), error)) return {};
  try {
    Json row = plannedJson(task);
    if (identityOf(before) != identityOf(row)) return {};
    if (before.at("sha256").get<std::string>() != sha256OfFile(fileOf(task))) return {};
    for (const char* key : {"rate", "channels", "frames", "seconds", "peak_dbfs", "loudness_lufs",
                            "clipped_samples", "late_moves", "truncated", "sha256"}) {
      row[key] = before.at(key);
    }
    return row;
  } catch (const Json::exception&) {
    return {};  // another version wrote other fields
  }
}

void refuseChanged(const fs::path& file, const std::string& sha256) {
  if (sha256OfFile(file) == sha256) return;
  throw FileError(fmt::format("{} has changed since the sweep was planned", file.string()));
}

RenderSettings renderSettings(const SweepTask& task) {
  const SweepConditions& common = *task.common;
  RenderSettings settings;
  for (int index = 1; index <= kNumStoredValues; ++index) {
    settings.rig.start.changes.push_back({index, task.values[index]});
  }
  settings.rig.values = task.values;
  settings.rig.blockLength = common.blockLength;
  settings.tailSeconds = common.tailSeconds;
  settings.mono = common.mono;
  settings.sampleFormat = common.sampleFormat;
  if (!task.cabinet.file.empty()) {
    settings.rig.cabinet = {common.origin / task.cabinet.file, task.cabinet.level_db};
    refuseChanged(settings.rig.cabinet.file, task.cabinetSha256);
  }
  if (common.automation) {
    const fs::path file = common.origin / common.automation->path;
    refuseChanged(file, common.automation->sha256);
    settings.moves = readAutomation(file, channelFromSelect(task.values[kTypeParameter]));
  }
  return settings;
}

Json rowWithResults(const SweepTask& task, const RenderResult& result, const std::string& sha256) {
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
  return row;
}

}  // namespace

std::string plannedRow(const SweepTask& task) { return jsonText(plannedJson(task)); }

std::string settingsId(const SweepTask& task) {
  constexpr std::size_t kDigits = 16;
  Json identity = identityOf(plannedJson(task));
  identity.erase("input_sha256");  // the folder of the file is the take's
  return sha256(jsonText(identity)).substr(0, kDigits);
}

std::string writeTask(const SweepTask& task, const std::string& known) {
  return jsonText({{"folder", task.common->folder.string()},
                   {"origin", task.common->origin.string()},
                   {"row", plannedJson(task)},
                   {"known", known}});
}

DoneTask runTask(const PluginModule& module, const std::string& text, Progress& progress) {
  const auto [task, known] = readTask(text);
  if (const std::optional<Json> row = keptRow(task, known)) {
    return {.row = jsonText(*row), .kept = true, .truncated = row->at("truncated").get<bool>()};
  }
  const fs::path take = task.common->origin / task.take->path;
  const fs::path file = fileOf(task);
  refuseChanged(take, task.take->sha256);
  const RenderSettings settings = renderSettings(task);
  makeFolder(file.parent_path());
  const RenderResult result = renderFile(module, take, file, settings, progress);
  return {.row = jsonText(rowWithResults(task, result, sha256OfFile(file))),
          .kept = false,
          .truncated = result.truncated};
}

}  // namespace quellard
