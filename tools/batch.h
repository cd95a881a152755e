// SPDX-License-Identifier: ISC
// Renders many files: finds them in folders, decides where each result goes, and shares the work
// among threads.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/render.h"

namespace quellard {

struct Job {
  std::filesystem::path input;
  std::filesystem::path output;
};

// inputs: files, pipes, "-" for standard input, and folders. A folder stands for all files in it
// and below, whatever they are (one that is no audio fails in its turn, and is named then), except
// hidden ones and those that desktops leave in folders.
// output: for one input that is a file, the name of the result, "-" for standard output, or a
// folder to put it in; otherwise a folder, made when missing. A result in a folder has its input's
// name (and its place below the input folder) with the ending fileType. What already lies in the
// output folder is no input.
// Throws UsageError when an output would be an input or another job's output, when its ending
// names no file type, when a folder to be made is named like an audio file, when a pipe would be
// read twice, or when the audio would go to a terminal; FileError when an input is missing or holds
// nothing to render.
std::vector<Job> planJobs(const std::vector<std::filesystem::path>& inputs,
                          const std::filesystem::path& output, const std::string& fileType,
                          const std::string& sampleFormat);

struct Outcome {
  std::optional<RenderResult> result;
  std::string error;  // one line, when there is no result
};

// Renders the jobs on up to threads threads, and returns their outcomes in the order of the jobs.
// A job that fails does not stop the others. Throws Interrupted after all threads have ended.
std::vector<Outcome> runJobs(const PluginModule& module, const std::vector<Job>& jobs,
                             const RenderSettings& settings, int threads, Progress& progress);

}  // namespace quellard
