// SPDX-License-Identifier: ISC
#include "tools/sweep/sweep.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <fmt/format.h>
#include <map>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

#include "params/sizes.h"
#include "tools/common/errors.h"
#include "tools/common/interrupt.h"
#include "tools/files/file_digest.h"
#include "tools/files/input_file.h"
#include "tools/files/utf8_path.h"
#include "tools/host/batch.h"
#include "tools/settings/cabinet_file.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

SourceFile sourceFile(const fs::path& path) {
  std::error_code error;
  if (isStandardInput(path) || (fs::exists(path, error) && !fs::is_regular_file(path, error))) {
    throw UsageError(
        fmt::format("{} is no ordinary file, as which it is read again and again", path.string()));
  }
  return {path, sha256OfFile(path)};
}

// Each take has its own, so that a take that is added later changes nothing for the others.
std::uint64_t seedFor(const std::string& name, int seed) {
  return std::stoull(sha256(fmt::format("{}/{}", seed, name)).substr(0, 16), nullptr, 16);
}

}  // namespace

Sweep::Sweep(const std::vector<fs::path>& takes, const fs::path& folder,
             const SweepSettings& settings)
    : folder_(fs::absolute(folder)) {
  if (settings.axes.empty() && settings.random > 0) {
    throw UsageError("nothing to draw from: --grid NAME=LOWEST:HIGHEST says what varies");
  }
  if (!settings.automation.empty()) automation_ = sourceFile(pathFrom(settings.automation));
  for (const Job& job : planJobs(takes, folder / "", settings.fileType, settings.sampleFormat)) {
    throwIfInterrupted();
    if (job.output.empty()) throw FileError(fmt::format("{} is no audio", job.input.string()));
    const fs::path name = job.output.lexically_relative(folder).replace_extension();
    add(sourceFile(job.input), name.generic_string(), settings);
  }
}

void Sweep::add(const SourceFile& take, const std::string& name, const SweepSettings& settings) {
  const std::vector<Combination> combinations =
      settings.random > 0
          ? randomCombinations(settings.axes, settings.random, seedFor(name, settings.seed))
          : everyCombination(settings.axes);
  SweepTask task{.folder = folder_,
                 .output = {},
                 .take = take,
                 .cabinetSha256 = {},
                 .automation = automation_,
                 .mono = settings.mono,
                 .tailSeconds = settings.tailSeconds,
                 .blockLength = settings.blockLength,
                 .sampleFormat = settings.sampleFormat,
                 .origin = fs::current_path()};
  ReadMoves readMoves;
  std::map<int, std::vector<Move>> moves;  // by the channel that plays first
  if (automation_) {
    readMoves = [&](int channel) {
      const auto [known, isNew] = moves.try_emplace(channel);
      if (isNew) known->second = readAutomation(automation_->path, channel);
      return known->second;
    };
  }
  std::set<std::string> ids;
  for (const Combination& combination : combinations) {
    throwIfInterrupted();
    NamedSettings named = settings.base;
    for (std::size_t i = 0; i < combination.size(); ++i) {
      assign(settings.axes[i].name(), settings.axes[i].value(combination[i]), named);
    }
    const ChosenSettings chosen = choose(named, readMoves);
    task.values = valuesAtStart(chosen);
    task.cabinet = chosen.cabinet;
    task.cabinetSha256 = digestOf(chosen.cabinet);
    std::string id = settingsId(task);
    task.output = fmt::format("{}/{}.{}", name, id, settings.fileType);
    if (ids.insert(std::move(id)).second) tasks_.push_back(task);
  }
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

namespace {

// What the threads of a sweep share.
class Running {
 public:
  Running(const PluginModule& module, const Sweep& sweep, Manifest& manifest, Progress& progress,
          std::stop_token stop)
      : module_(module),
        sweep_(sweep),
        outputs_(sweep.outputs()),
        manifest_(manifest),
        progress_(progress),
        stop_(std::move(stop)) {}

  void work() {
    const auto goesOn = [this] { return !failed_ && !stop_.stop_requested(); };
    for (std::size_t i = next_++; i < sweep_.size() && goesOn(); i = next_++) run(i);
  }

  // When all threads have ended.
  SweepResult finish() {
    throwIfInterrupted();
    if (failure_) std::rethrow_exception(failure_);
    if (stop_.stop_requested()) throw Interrupted();
    result_.rows = manifest_.finish(outputs_);
    for (auto& [number, error] : errors_) result_.errors.push_back(std::move(error));
    std::ranges::sort(result_.truncated);
    return std::move(result_);
  }

 private:
  void run(std::size_t number) {
    try {
      const std::string known = manifest_.find(outputs_[number]);
      const DoneTask done = runTask(module_, sweep_.task(number, known), progress_);
      if (done.kept) progress_.skipFile();
      keep(number, done);
    } catch (const Interrupted&) {
      failed_ = true;
    } catch (const std::exception& error) {
      progress_.skipFile();
      const std::lock_guard lock(mutex_);
      errors_[number] = explanation(error);
    }
  }

  // Without a place for the rows the sweep ends.
  void keep(std::size_t number, const DoneTask& done) {
    const std::lock_guard lock(mutex_);
    try {
      manifest_.add(done.row);
    } catch (const std::exception&) {
      failure_ = std::current_exception();
      failed_ = true;
    }
    ++(done.kept ? result_.kept : result_.made);
    if (done.truncated) result_.truncated.push_back(outputs_[number]);
  }

  const PluginModule& module_;
  const Sweep& sweep_;
  std::vector<std::string> outputs_;
  Manifest& manifest_;
  Progress& progress_;
  std::stop_token stop_;
  std::atomic<std::size_t> next_ = 0;
  std::atomic<bool> failed_ = false;
  std::mutex mutex_;
  std::exception_ptr failure_;
  std::map<std::size_t, std::string> errors_;
  SweepResult result_;
};

}  // namespace

SweepResult runSweep(const PluginModule& module, const Sweep& sweep, Manifest& manifest,
                     int threads, Progress& progress, const std::stop_token& stop) {
  progress.expectFiles(sweep.size());
  Running running(module, sweep, manifest, progress, stop);
  {
    std::vector<std::jthread> helpers;
    const std::size_t wanted = std::min(asSize(threads), sweep.size());
    for (std::size_t i = 1; i < wanted; ++i) helpers.emplace_back([&running] { running.work(); });
    running.work();
  }
  return running.finish();
}

}  // namespace quellard
