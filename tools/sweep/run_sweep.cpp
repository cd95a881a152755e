// SPDX-License-Identifier: ISC
#include <algorithm>
#include <atomic>
#include <exception>
#include <fmt/format.h>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include "params/sizes.h"
#include "tools/common/errors.h"
#include "tools/common/interrupt.h"
#include "tools/host/render_limits.h"
#include "tools/sweep/sweep.h"

namespace quellard {
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
    sweep_.removeLeftovers();
    result_.rows = manifest_.finish(outputs_);
    result_.errors = sweep_.errors();
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
    std::size_t& count = done.kept ? result_.kept : result_.made;
    ++count;
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
  if (threads < 1 || threads > kMostThreads) {
    throw UsageError(fmt::format("jobs: {} is outside 1 to {}", threads, kMostThreads));
  }
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
