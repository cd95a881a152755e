// SPDX-License-Identifier: ISC
#include "tools/host/batch.h"

#include <algorithm>
#include <atomic>
#include <fmt/format.h>
#include <map>
#include <set>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

#include "params/sizes.h"
#include "params/words.h"
#include "tools/common/errors.h"
#include "tools/common/interrupt.h"
#include "tools/common/standard_streams.h"
#include "tools/files/audio_file.h"
#include "tools/files/audio_format.h"
#include "tools/files/file_identity.h"
#include "tools/files/output_file.h"
#include "tools/files/streams.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

// An input, and the path of its result within an output folder.
struct Found {
  fs::path input;
  fs::path nameInFolder;
};

// Hidden files, and files that desktops create in folders.
bool isIgnored(const fs::path& path) {
  const std::string name = lowered(path.filename().string());
  return name.starts_with('.') || name == "thumbs.db" || name == "desktop.ini";
}

std::vector<Found> searchFolder(const fs::path& folder, const fs::path& output) {
  std::vector<Found> found;
  std::error_code error;
  std::error_code unreached;
  const fs::path outputFolder = fs::weakly_canonical(output);
  auto entry = fs::recursive_directory_iterator(folder, error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    throwIfInterrupted();
    const fs::path& path = entry->path();
    if (entry->is_directory(unreached)) {
      const bool skipped = isIgnored(path) || fs::weakly_canonical(path) == outputFolder;
      if (skipped) entry.disable_recursion_pending();
      continue;
    }
    // A broken link is listed, so that the missing file is reported. Pipes, which would wait for a
    // writer, are not.
    const bool listed = entry->is_regular_file(unreached) || !entry->exists(unreached);
    if (listed && !isIgnored(path)) found.push_back({path, path.lexically_relative(folder)});
  }
  if (error) {
    throw FileError(fmt::format("cannot read {}: {}", folder.string(), systemMessage(error)));
  }
  if (found.empty()) throw FileError(fmt::format("no audio files in {}", folder.string()));
  // Sorted, since folders list their files in any order.
  std::sort(found.begin(), found.end(),
            [](const Found& a, const Found& b) { return a.input < b.input; });
  return found;
}

std::vector<Found> findInputs(const std::vector<fs::path>& inputs, const fs::path& output) {
  std::vector<Found> all;
  for (const fs::path& input : inputs) {
    if (isStandardInput(input)) {
      all.push_back({"-", "stdin"});
      continue;
    }
    std::error_code error;
    const fs::file_status status = fs::status(input, error);
    if (!fs::exists(status)) {
      throw FileError(fmt::format("cannot read {}: {}", input.string(), systemMessage(error)));
    }
    if (!fs::is_directory(status)) {
      all.push_back({input, input.filename()});
      continue;
    }
    for (Found& found : searchFolder(input, output)) all.push_back(std::move(found));
  }
  return all;
}

bool isAudioFile(const fs::path& path) {
  try {
    AudioReader::open(path);
    return true;
  } catch (const FileError&) {
    return false;
  }
}

// Two inputs that differ only in their ending would have the same output. Where one of them is no
// audio, such as a text about the other, it gets no output, and fails when it is rendered.
bool clearOutputUnlessAudio(Job& job) {
  std::error_code error;
  if (!fs::is_regular_file(job.input, error) || isAudioFile(job.input)) return false;
  job.output.clear();
  return true;
}

void refuseEqualOutputs(std::vector<Job>& jobs) {
  std::map<fs::path, Job*> outputs;
  for (Job& job : jobs) {
    const auto [entry, isNew] =
        outputs.emplace(comparableName(withLinksFollowed(job.output)), &job);
    if (isNew || clearOutputUnlessAudio(job)) continue;
    Job* const other = std::exchange(entry->second, &job);
    if (clearOutputUnlessAudio(*other)) continue;
    throw UsageError(fmt::format("{} and {} would both become {}", other->input.string(),
                                 job.input.string(), job.output.string()));
  }
}

// Returns the identities of all inputs.
std::set<FileIdentity> refuseReadingTwice(const std::vector<Found>& all) {
  std::set<FileIdentity> inputs;
  bool takenStandardInput = false;
  for (const auto& [input, nameInFolder] : all) {
    const auto found = identify(input, STDIN_FILENO);
    const bool isNew = !found || inputs.insert(found->identity).second;
    const bool again = isStandardInput(input) && std::exchange(takenStandardInput, true);
    if (!again && (isNew || !found->readOnce)) continue;
    throw UsageError(fmt::format("{} is given twice, but can be read only once",
                                 again ? "standard input" : input.string()));
  }
  return inputs;
}

void refuseMixedUp(const std::vector<Found>& all, const std::vector<Job>& jobs) {
  const std::set<FileIdentity> inputs = refuseReadingTwice(all);
  for (const Job& job : jobs) {
    const auto found = identify(job.output, STDOUT_FILENO);
    if (!found || !inputs.contains(found->identity)) continue;
    throw UsageError(fmt::format("the output {} is also an input", job.output.string()));
  }
}

void refuseOneForMany(const fs::path& output) {
  std::error_code error;
  if (isStream(output)) {
    throw UsageError(fmt::format("several results need a folder, and {} is none",
                                 isStandardOutput(output) ? "standard output" : output.string()));
  }
  if (!hasAudioEnding(output) || fs::is_directory(output, error)) return;
  throw UsageError(
      fmt::format("several results need a folder, and {} is named like a file: "
                  "put a slash behind it if it shall be one",
                  output.string()));
}

Outcome runJob(const PluginModule& module, const Job& job, const RenderSettings& settings,
               Progress& progress) {
  try {
    return {renderFile(module, job.input, job.output, settings, progress), {}};
  } catch (const Interrupted& interrupted) {
    return {{}, interrupted.what()};
  } catch (const std::exception& error) {
    return {{}, explanation(error)};
  }
}

}  // namespace

std::vector<fs::path> findInputs(const std::vector<fs::path>& inputs) {
  const std::vector<Found> found = findInputs(inputs, {});
  refuseReadingTwice(found);
  std::vector<fs::path> paths(found.size());
  std::ranges::transform(found, paths.begin(), &Found::input);
  return paths;
}

std::vector<Job> planJobs(const std::vector<fs::path>& inputs, const fs::path& output,
                          const std::string& fileType, const std::string& sampleFormat) {
  std::error_code error;
  const bool oneFile = inputs.size() == 1 && !fs::is_directory(inputs.front(), error);
  const bool toFolder = !oneFile || fs::is_directory(output, error) || !output.has_filename();
  const std::vector<Found> found = findInputs(inputs, output);
  if (!oneFile) refuseOneForMany(output);
  if (isStandardOutput(output) && isTerminal(STDOUT_FILENO)) {
    throw UsageError("standard output is a terminal: send the audio to a file or a pipe");
  }
  const std::string streamType = isStream(output) ? fileType : std::string();
  std::vector<Job> jobs;
  for (const auto& [input, nameInFolder] : found) {
    const fs::path inFolder = output / fs::path(nameInFolder).replace_extension(fileType);
    jobs.push_back({input, toFolder ? inFolder : output, toFolder});
    // A wrong ending is reported before the first file is rendered.
    formatFor(jobs.back().output, sampleFormat, streamType);
  }
  refuseMixedUp(found, jobs);
  refuseEqualOutputs(jobs);
  return jobs;
}

void makeFolders(const std::vector<Job>& jobs) {
  for (const Job& job : jobs) {
    if (!job.output.empty() && job.makesFolder) makeFolder(job.output.parent_path());
  }
}

std::vector<Outcome> runJobs(const PluginModule& module, const std::vector<Job>& jobs,
                             const RenderSettings& settings, int threads, Progress& progress) {
  progress.expectFiles(jobs.size());
  std::vector<Outcome> outcomes(jobs.size());
  std::atomic<std::size_t> next{0};
  const auto work = [&] {
    for (std::size_t i = next++; i < jobs.size(); i = next++) {
      outcomes[i] = runJob(module, jobs[i], settings, progress);
    }
  };
  {
    std::vector<std::jthread> helpers;
    const std::size_t wanted = std::min(asSize(threads), jobs.size());
    for (std::size_t i = 1; i < wanted; ++i) helpers.emplace_back(work);
    work();
  }
  throwIfInterrupted();
  return outcomes;
}

}  // namespace quellard
