// SPDX-License-Identifier: ISC
#include "tools/sweep/sweep.h"

#include <algorithm>
#include <fmt/format.h>
#include <functional>
#include <map>
#include <set>
#include <system_error>
#include <utility>

#include "params/words.h"
#include "tools/common/errors.h"
#include "tools/common/interrupt.h"
#include "tools/files/audio_file.h"
#include "tools/files/audio_format.h"
#include "tools/files/file_digest.h"
#include "tools/files/streams.h"
#include "tools/files/unnamed_file.h"
#include "tools/files/utf8_path.h"
#include "tools/host/batch.h"
#include "tools/host/render_limits.h"
#include "tools/settings/cabinet_file.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

constexpr std::size_t kMostTasks = 1'000'000;

void refuse(const std::string& why) { throw UsageError(why); }

void checkLimits(const SweepSettings& settings) {
  if (settings.axes.empty() && settings.random > 0) {
    refuse("nothing to draw from: --grid NAME=LOWEST:HIGHEST says what varies");
  }
  if (settings.random < 0) refuse(fmt::format("random: {} is below 0", settings.random));
  if (settings.seed < 0) refuse(fmt::format("seed: {} is below 0", settings.seed));
  if (settings.blockLength < 1 || settings.blockLength > kLongestBlock) {
    refuse(fmt::format("block: {} is outside 1 to {}", settings.blockLength, kLongestBlock));
  }
  if (!(settings.tailSeconds >= 0.0 && settings.tailSeconds <= kLongestTail_s)) {
    refuse(fmt::format("tail: {} is outside 0 to {}", settings.tailSeconds, kLongestTail_s));
  }
}

// Tasks and rows are JSON, which holds no other bytes.
const fs::path& requireUtf8(const fs::path& path) {
  if (isUtf8(path.string())) return path;
  throw UsageError(
      fmt::format("{}: a sweep's list holds no name that is not UTF-8", path.string()));
}

SourceFile sourceFile(const fs::path& path) {
  std::error_code error;
  if (isStandardInput(path) || (fs::exists(path, error) && !fs::is_regular_file(path, error))) {
    throw UsageError(
        fmt::format("{} is no ordinary file, as which it is read again and again", path.string()));
  }
  return {requireUtf8(path), sha256OfFile(path)};
}

// Each take has its own, so that a take that is added later changes nothing for the others.
std::uint64_t seedFor(const std::string& name, int seed) {
  return std::stoull(sha256(fmt::format("{}/{}", seed, name)).substr(0, 16), nullptr, 16);
}

void refuseTakesFolder(const std::vector<fs::path>& takes, const fs::path& folder) {
  for (const fs::path& take : takes) {
    std::error_code error;
    if (!fs::equivalent(take, folder, error)) continue;
    refuse(fmt::format("{} is a folder of takes: the results need another", folder.string()));
  }
}

// Whether a file that was found in a folder of takes is the result of a sweep.
bool isResult(const fs::path& file, const std::vector<fs::path>& takes) {
  if (std::ranges::find(takes, file) != takes.end()) return false;
  std::error_code error;
  fs::path folder = file.parent_path();
  while (!folder.empty() && std::ranges::find(takes, folder) == takes.end()) {
    if (fs::exists(folder / kManifestName, error)) return true;
    if (folder == folder.root_path()) return false;
    folder = folder.parent_path();
  }
  return false;
}

std::string withoutDot(std::string_view type) {
  return lowered(type.starts_with('.') ? type.substr(1) : type);
}

}  // namespace

Sweep::Sweep(const std::vector<fs::path>& takes, const fs::path& folder,
             const SweepSettings& settings)
    : settings_(settings) {
  checkLimits(settings);
  if (folder.empty()) refuse("the folder of the results has no name");
  refuseTakesFolder(takes, folder);
  settings_.fileType = withoutDot(settings.fileType);
  formatFor("any." + settings_.fileType, settings.sampleFormat);  // throws for what there is not
  SweepConditions conditions{.folder = requireUtf8(fs::absolute(folder).lexically_normal()),
                             .origin = requireUtf8(fs::current_path()),
                             .automation = {},
                             .mono = settings.mono,
                             .tailSeconds = settings.tailSeconds,
                             .blockLength = settings.blockLength,
                             .sampleFormat = settings.sampleFormat};
  if (!settings.automation.empty())
    conditions.automation = sourceFile(pathFrom(settings.automation));
  conditions_ = std::make_shared<const SweepConditions>(std::move(conditions));
  refuseAxesWithoutEffect();
  if (takes.empty()) return;
  for (const Job& job : planJobs(takes, folder / "", settings_.fileType, settings.sampleFormat)) {
    throwIfInterrupted();
    if (!isResult(job.input, takes)) addTake(job, folder);
  }
}

void Sweep::addTake(const Job& job, const fs::path& folder) {
  try {
    AudioReader::open(job.input);  // throws where it is none
    if (job.output.empty()) {
      throw FileError(fmt::format("cannot read {}: not an audio file", job.input.string()));
    }
    const fs::path name = job.output.lexically_relative(folder).replace_extension();
    if (name == kManifestName) {
      refuse(fmt::format("{}: the list of the sweep has this name", job.input.string()));
    }
    const auto take = std::make_shared<const SourceFile>(sourceFile(job.input));
    addTasks(take, name.generic_string());
  } catch (const FileError& error) {
    errors_.emplace_back(error.what());
  }
}

void Sweep::addTasks(const std::shared_ptr<const SourceFile>& take, const std::string& name) {
  const std::vector<Combination> combinations =
      settings_.random > 0
          ? randomCombinations(settings_.axes, settings_.random, seedFor(name, settings_.seed))
          : everyCombination(settings_.axes);
  if (tasks_.size() + combinations.size() > kMostTasks) {
    refuse(fmt::format("more than {} renders: divide the takes among several sweeps", kMostTasks));
  }
  std::set<std::string> ids;
  for (const Combination& combination : combinations) {
    throwIfInterrupted();
    SweepTask task = taskFor(combination);
    std::string id = settingsId(task);
    task.take = take;
    task.output = fmt::format("{}/{}.{}", name, id, settings_.fileType);
    if (ids.insert(std::move(id)).second) tasks_.push_back(std::move(task));
  }
}

SweepTask Sweep::taskFor(const Combination& combination) {
  static const auto kNoTake = std::make_shared<const SourceFile>();
  NamedSettings named = settings_.base;
  for (std::size_t i = 0; i < combination.size(); ++i) {
    assign(settings_.axes[i].name(), settings_.axes[i].value(combination[i]), named);
  }
  const ChosenSettings chosen = choose(named, [this](int channel) { return movesFrom(channel); });
  return {.common = conditions_,
          .take = kNoTake,
          .output = {},
          .values = valuesAtStart(chosen),
          .cabinet = chosen.cabinet,
          .cabinetSha256 = digestOf(chosen.cabinet)};
}

// An axis that other settings override would pass for one that was tried.
void Sweep::refuseAxesWithoutEffect() {
  constexpr std::uint32_t kTried = 16;
  const Combination first(settings_.axes.size(), 0);
  const std::string id = settingsId(taskFor(first));
  for (std::size_t i = 0; i < first.size(); ++i) {
    const Axis& axis = settings_.axes[i];
    bool differs = axis.count() == 1;
    for (std::uint32_t tried = 1; tried <= kTried && !differs; ++tried) {
      Combination other = first;
      other[i] = static_cast<std::uint32_t>(std::uint64_t{axis.count() - 1} * tried / kTried);
      differs = settingsId(taskFor(other)) != id;
    }
    if (!differs) refuse(fmt::format("'{}' changes nothing: other settings decide", axis.name()));
  }
}

const std::vector<Move>& Sweep::movesFrom(int channel) {
  const auto [known, isNew] = moves_.try_emplace(channel);
  const std::optional<SourceFile>& file = conditions_->automation;
  if (isNew && file) known->second = readAutomation(file->path, channel);
  return known->second;
}

std::string Sweep::digestOf(const CabinetChoice& cabinet) {
  if (cabinet.file.empty()) return "";
  const auto [known, isNew] = cabinets_.try_emplace(cabinet.file);
  if (isNew) {
    checkCabinet(cabinet);
    known->second = sourceFile(cabinet.file).sha256;
  }
  return known->second;
}

std::vector<std::string> Sweep::outputs() const {
  std::vector<std::string> outputs(tasks_.size());
  std::ranges::transform(tasks_, outputs.begin(), &SweepTask::output);
  return outputs;
}

void Sweep::removeLeftovers() const {
  std::set<fs::path> folders = {folder()};
  for (const SweepTask& task : tasks_) folders.insert((folder() / task.output).parent_path());
  for (const fs::path& each : folders) removeTemporaryFilesIn(each);
}

}  // namespace quellard
