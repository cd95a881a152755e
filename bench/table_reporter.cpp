// SPDX-License-Identifier: ISC
#include "bench/table_reporter.h"

#include <cstdlib>
#include <sstream>

#include "bench/benches.h"

namespace quellard::bench {
namespace {

double counter(const benchmark::BenchmarkReporter::Run& run, const char* name) {
  const auto found = run.counters.find(name);
  return found != run.counters.end() ? found->second.value : 0.0;
}

std::string firstWord(const std::string& path) { return path.substr(0, path.find('/')); }

std::string rest(const std::string& path) { return path.substr(path.find('/') + 1); }

const char* isaInForce() {
  const char* isa = std::getenv("QUELLARD_ISA");
  return isa != nullptr ? isa : "chosen by the processor";
}

}  // namespace

bool TableReporter::ReportContext(const Context& context) {
  std::printf("%d cores at %.0f MHz, instruction set: %s\n", context.cpu_info.num_cpus,
              context.cpu_info.cycles_per_second * 1e-6, isaInForce());
  return true;
}

void TableReporter::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) report(run);
  std::fflush(stdout);
}

void TableReporter::report(const Run& run) {
  const std::string& name = run.run_name.function_name;
  if (run.error_occurred) {
    std::printf("%s: %s\n", name.c_str(), run.error_message.c_str());
    return;
  }
  const std::string table = firstWord(name);
  if (table != table_) beginTable(table);
  if (table == "play") return reportPlaying(run, rest(name));
  if (table == "hosted" || table == "rig") return reportHosted(run, rest(name));
  if (table == "cabinet") return reportCabinet(run, rest(name));
  if (table == "setup") return reportSetup(run, rest(name));
  reportTime(run, rest(name));
}

void TableReporter::beginTable(const std::string& table) {
  table_ = table;
  if (table == "play") {
    std::printf(
        "\nPlaying, per input sample: fastest round of each and their ratio;\n"
        "floor: the lowpass recurrence alone, fastest of the same rounds, and shipped against it\n"
        "%-8s %6s %6s %-8s %10s %10s %7s %12s %9s %8s\n",
        "channel", "Hz", "block", "knobs", "shipped ns", "ref. ns", "ratio", "x real time",
        "floor ns", "x floor");
  } else if (table == "minute") {
    std::printf("\nA minute at 48000 Hz from memory, per sample\n%-8s %10s\n", "channel", "ns");
  } else if (table == "rig") {
    std::printf(
        "\nThe neutral rig around an amplifier, beside the amplifier alone, blocks of 64\n"
        "%-8s %8s %10s %10s %7s\n",
        "channel", "", "in it ns", "alone ns", "ratio");
  } else if (table == "hosted") {
    std::printf(
        "\nSix knobs that move in every block of 64, beside knobs at rest, per input sample\n"
        "%-8s %8s %10s %10s %7s\n",
        "channel", "at frame", "moving ns", "resting ns", "ratio");
  } else if (table == "cabinet") {
    std::printf(
        "\nA cabinet of 200 ms at 48000 Hz, per input sample; slowest block against median\n"
        "%-8s %10s %10s\n",
        "block", "ns", "slowest");
  } else if (table == "setup") {
    std::printf("\nStarting up: fastest of all rounds\n%-31s %10s %10s %7s\n", "", "shipped us",
                "ref. us", "ratio");
  } else {
    std::printf("\nThe lowpass recurrence alone, per input sample\n%-8s %10s\n", "Hz", "ns");
  }
}

void TableReporter::reportPlaying(const Run& run, const std::string& title) {
  std::string channel, rate, block, knobs;
  std::istringstream words(title);
  std::getline(words, channel, '/');
  std::getline(words, rate, '/');
  std::getline(words, block, '/');
  std::getline(words, knobs);
  const double shipped = counter(run, kShippedNs);
  std::printf("%-8s %6s %6s %-8s %10.1f %10.1f %7.2f %12.1f %9.1f %8.2f\n", channel.c_str(),
              rate.c_str(), block.c_str(), knobs.c_str(), shipped, counter(run, kReferenceNs),
              counter(run, kRatio), counter(run, kRealTime), counter(run, kFloorNs),
              shipped / counter(run, kFloorNs));
}

void TableReporter::reportHosted(const Run& run, const std::string& title) {
  std::printf("%-8s %8s %10.1f %10.1f %7.2f\n", firstWord(title).c_str(), rest(title).c_str(),
              counter(run, kMovingNs), counter(run, kRestingNs), counter(run, kRatio));
}

void TableReporter::reportCabinet(const Run& run, const std::string& block) {
  std::printf("%-8s %10.1f %10.2f\n", block.c_str(), counter(run, kShippedNs),
              counter(run, kRatio));
}

void TableReporter::reportSetup(const Run& run, const std::string& title) {
  std::printf("%-31s %10.1f %10.1f %7.2f\n", title.c_str(), counter(run, kShippedUs),
              counter(run, kReferenceUs), counter(run, kRatio));
}

void TableReporter::reportTime(const Run& run, const std::string& title) {
  std::printf("%-8s %10.1f\n", title.c_str(), counter(run, kShippedNs));
}

}  // namespace quellard::bench
