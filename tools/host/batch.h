// SPDX-License-Identifier: ISC
// Renders many files: finds them in folders, chooses the output files, and uses several threads.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/host/render.h"

namespace quellard {

// The files that inputs stand for: files, pipes, "-" for standard input, and folders. A folder
// stands for all files in and below it, except hidden ones and those that desktops create; files
// that are no audio are included. Throws UsageError when a pipe would be read twice, FileError when
// an input is missing or a folder contains no files.
std::vector<std::filesystem::path> findInputs(const std::vector<std::filesystem::path>& inputs);

struct Job {
  std::filesystem::path input;
  std::filesystem::path output;
  bool makesFolder = false;  // the output's, where it is missing
};

// inputs: as of findInputs(). Rendering a file that is no audio fails, and the error names it.
// output: for a single file, the name of the result, "-" for standard output, or a folder;
// otherwise a folder, which makeFolders() makes when it is missing. A result in a folder has its
// input's path below the input folder, with the ending fileType. Files in the output folder are no
// inputs. Throws UsageError when an output is also an input or another job's output, when its
// ending is no known file type, when a folder to be made is named like an audio file, when a pipe
// would be read twice, or when the audio would go to a terminal; FileError when an input is missing
// or contains no files.
std::vector<Job> planJobs(const std::vector<std::filesystem::path>& inputs,
                          const std::filesystem::path& output, const std::string& fileType,
                          const std::string& sampleFormat);

// Makes the folders of the outputs. Throws FileError.
void makeFolders(const std::vector<Job>& jobs);

struct Outcome {
  std::optional<RenderResult> result;
  std::string error;  // one line, when there is no result
};

// Renders the jobs on up to `threads` threads and returns the outcomes in the order of the jobs. A
// job that fails does not stop the others. Throws Interrupted after all threads have ended.
std::vector<Outcome> runJobs(const PluginModule& module, const std::vector<Job>& jobs,
                             const RenderSettings& settings, int threads, Progress& progress);

}  // namespace quellard
