// SPDX-License-Identifier: ISC
// quellard_bench: compares the amplifier's speed with the reference's and prints tables.
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>
#include <unistd.h>
#include <vector>

#include "bench/benches.h"
#include "bench/table_reporter.h"

namespace {

constexpr char kUsage[] =
    "quellard_bench [--rounds=N] [--isa=baseline|avx2|avx512] [--benchmark_...]\n"
    "  --rounds  how often shipped code and reference alternate, for 8192 samples each (25)\n"
    "  --isa     the instruction set to play with, by default the best that the processor has\n"
    "  --benchmark_filter=play/MODERN/.*64 and the other options of Google Benchmark\n";

struct Options {
  int rounds = 25;
  const char* isa = nullptr;
  bool firstSetup = false;
  bool help = false;
};

std::optional<std::string_view> valueOf(std::string_view argument, std::string_view option) {
  if (!argument.starts_with(option)) return {};
  return argument.substr(option.size());
}

bool parse(const char* argument, Options& options) {
  if (const auto rounds = valueOf(argument, "--rounds=")) {
    const auto [end, error] =
        std::from_chars(rounds->data(), rounds->data() + rounds->size(), options.rounds);
    return error == std::errc() && *end == '\0' && options.rounds > 0;
  }
  if (const auto isa = valueOf(argument, "--isa=")) {
    options.isa = isa->data();
    return *isa == "baseline" || *isa == "avx2" || *isa == "avx512";
  }
  const std::string_view word = argument;
  options.firstSetup |= word == "--first-setup";
  options.help |= word == "--help";
  return word == "--first-setup" || word == "--help";
}

// The amplifier chooses its code before main() begins, so another choice needs a new process.
bool startAgainWith(const char* isa, char** arguments) {
  const char* current = std::getenv("QUELLARD_ISA");
  if (current != nullptr && std::strcmp(current, isa) == 0) return true;
  setenv("QUELLARD_ISA", isa, 1);
  execv("/proc/self/exe", arguments);
  std::perror("quellard_bench: cannot start again");
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<char*> forLibrary = {argv[0]};
  Options options;
  for (int i = 1; i < argc; ++i) {
    if (std::string_view(argv[i]).starts_with("--benchmark_")) {
      forLibrary.push_back(argv[i]);
    } else if (!parse(argv[i], options)) {
      std::fprintf(stderr, "quellard_bench: what is '%s'?\n%s", argv[i], kUsage);
      return 2;
    }
  }
  if (options.help) {
    std::fputs(kUsage, stdout);
    return 0;
  }
  if (options.isa != nullptr && !startAgainWith(options.isa, argv)) return 1;
  if (options.firstSetup) {
    quellard::bench::printFirstSetup();
    return 0;
  }

  int count = static_cast<int>(forLibrary.size());
  benchmark::Initialize(&count, forLibrary.data());
  if (benchmark::ReportUnrecognizedArguments(count, forLibrary.data())) return 2;
  quellard::bench::registerRecurrence(options.rounds);
  quellard::bench::registerPlaying(options.rounds);
  quellard::bench::registerMinute(options.rounds);
  quellard::bench::registerHosted(options.rounds);
  quellard::bench::registerCabinet(options.rounds);
  quellard::bench::registerSetup(options.rounds);
  quellard::bench::TableReporter table;
  benchmark::RunSpecifiedBenchmarks(&table);
  benchmark::Shutdown();
  return 0;
}
