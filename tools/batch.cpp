// SPDX-License-Identifier: ISC
#include "tools/batch.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <fmt/format.h>
#include <map>
#include <set>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <utility>

#include "tools/audio_file.h"
#include "tools/audio_format.h"
#include "tools/errors.h"
#include "tools/interrupt.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

// An input with the name that its result has within an output folder.
struct Found {
  fs::path input;
  fs::path nameInFolder;
};

std::vector<Found> searchFolder(const fs::path& folder, const fs::path& output) {
  std::vector<Found> found;
  std::error_code error;
  const fs::path outputFolder = fs::weakly_canonical(output);
  auto entry = fs::recursive_directory_iterator(folder, error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    throwIfInterrupted();
    const fs::path& path = entry->path();
    if (entry->is_directory(error)) {
      if (fs::weakly_canonical(path) == outputFolder) entry.disable_recursion_pending();
    } else if (entry->is_regular_file(error) && isAudioFile(path)) {
      found.push_back({path, path.lexically_relative(folder)});
    }
  }
  if (error) {
    throw FileError(fmt::format("cannot read {}: {}", folder.string(), error.message()));
  }
  if (found.empty()) throw FileError(fmt::format("no audio files in {}", folder.string()));
  // Folders list their files in no order; the summary shall have one.
  std::sort(found.begin(), found.end(),
            [](const Found& a, const Found& b) { return a.input < b.input; });
  return found;
}

std::vector<Found> findInputs(const std::vector<fs::path>& inputs, const fs::path& output) {
  std::vector<Found> all;
  for (const fs::path& input : inputs) {
    std::error_code error;
    const fs::file_status status = fs::status(input, error);
    if (!fs::exists(status)) {
      throw FileError(fmt::format("cannot read {}: {}", input.string(), error.message()));
    }
    if (!fs::is_directory(status)) {
      all.push_back({input, input.filename()});
      continue;
    }
    for (Found& found : searchFolder(input, output)) all.push_back(std::move(found));
  }
  return all;
}

// What tells two files apart, whatever they are called.
using FileIdentity = std::pair<dev_t, ino_t>;

std::optional<FileIdentity> identify(const fs::path& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) return {};
  return FileIdentity(status.st_dev, status.st_ino);
}

void refuseCollisions(const std::vector<Job>& jobs) {
  std::map<fs::path, const Job*> outputs;
  std::set<FileIdentity> inputs;
  for (const Job& job : jobs) {
    if (const auto identity = identify(job.input)) inputs.insert(*identity);
    const auto [other, isNew] = outputs.emplace(fs::weakly_canonical(job.output), &job);
    if (isNew) continue;
    throw UsageError(fmt::format("{} and {} would both become {}", other->second->input.string(),
                                 job.input.string(), job.output.string()));
  }
  for (const Job& job : jobs) {
    const auto identity = identify(job.output);
    if (!identity || !inputs.contains(*identity)) continue;
    throw UsageError(fmt::format("the output {} is also an input", job.output.string()));
  }
}

void makeFolder(const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error && !fs::is_directory(folder)) {
    throw FileError(fmt::format("cannot make the folder {}: {}", folder.string(), error.message()));
  }
}

Outcome runJob(const PluginModule& module, const Job& job, const RenderSettings& settings,
               Progress& progress) {
  try {
    return {renderFile(module, job.input, job.output, settings, progress), {}};
  } catch (const Interrupted& interrupted) {
    return {{}, interrupted.what()};
  } catch (const std::exception& error) {
    return {{}, error.what()};
  }
}

// Frames that the headers promise. What is wrong with a file is told when it is its turn.
std::int64_t expectedFrames(const Job& job, const RenderSettings& settings) {
  try {
    const AudioReader reader(job.input);
    return reader.frames() + std::llround(settings.tailSeconds * reader.rate());
  } catch (const FileError&) {
    return 0;
  }
}

}  // namespace

std::vector<Job> planJobs(const std::vector<fs::path>& inputs, const fs::path& output,
                          const std::string& fileType, const std::string& sampleFormat) {
  std::error_code error;
  const bool oneFile = inputs.size() == 1 && !fs::is_directory(inputs.front(), error);
  const bool toFolder = !oneFile || fs::is_directory(output, error) || !output.has_filename();
  const std::vector<Found> found = findInputs(inputs, output);
  if (!oneFile && hasAudioEnding(output) && !fs::is_directory(output, error)) {
    throw UsageError(
        fmt::format("several results need a folder, and {} is named like a file: "
                    "put a slash behind it if it shall be one",
                    output.string()));
  }
  std::vector<Job> jobs;
  for (const auto& [input, nameInFolder] : found) {
    const fs::path inFolder = output / fs::path(nameInFolder).replace_extension(fileType);
    jobs.push_back({input, toFolder ? inFolder : output});
    formatFor(jobs.back().output, sampleFormat);  // a bad ending is told before any work
  }
  refuseCollisions(jobs);
  if (toFolder) {
    for (const Job& job : jobs) makeFolder(job.output.parent_path());
  }
  return jobs;
}

std::vector<Outcome> runJobs(const PluginModule& module, const std::vector<Job>& jobs,
                             const RenderSettings& settings, int threads, Progress& progress) {
  if (progress.visible()) {
    for (const Job& job : jobs) progress.expect(expectedFrames(job, settings));
  }
  std::vector<Outcome> outcomes(jobs.size());
  std::atomic<std::size_t> next{0};
  const auto work = [&] {
    for (std::size_t i = next++; i < jobs.size(); i = next++) {
      outcomes[i] = runJob(module, jobs[i], settings, progress);
    }
  };
  {
    std::vector<std::jthread> helpers;
    const std::size_t wanted = std::min(static_cast<std::size_t>(threads), jobs.size());
    for (std::size_t i = 1; i < wanted; ++i) helpers.emplace_back(work);
    work();
  }
  throwIfInterrupted();
  return outcomes;
}

}  // namespace quellard
