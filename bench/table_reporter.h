// SPDX-License-Identifier: ISC
// Prints the benchmarks as tables, one line each.
#pragma once

#include <benchmark/benchmark.h>
#include <string>

namespace quellard::bench {

class TableReporter : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;

 private:
  void report(const Run& run);
  void reportPlaying(const Run& run, const std::string& title);
  void reportHosted(const Run& run, const std::string& title);
  void reportCabinet(const Run& run, const std::string& block);
  void reportSetup(const Run& run, const std::string& title);
  void reportTime(const Run& run, const std::string& title);
  void beginTable(const std::string& table);

  std::string table_;
};

}  // namespace quellard::bench
