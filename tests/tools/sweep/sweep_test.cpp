// SPDX-License-Identifier: ISC
// Sweeps in one process and on several threads; what they leave in folders is tested from Python,
// where that is built.
#include "tools/sweep/sweep.h"

#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <set>

#include "tests/tools/scratch.h"
#include "tools/common/errors.h"

namespace quellard {
namespace {

using test::plugin;
using test::Scratch;

std::string contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<std::string> valuesOf(const char* text) {
  const Axis axis = Axis::parse(text);
  std::vector<std::string> values;
  for (std::uint32_t i = 0; i < axis.count() && i < 20; ++i) values.push_back(axis.value(i));
  return values;
}

TEST(Axis, TakesListsStepsAndRanges) {
  using Words = std::vector<std::string>;
  EXPECT_EQ(valuesOf("channel=clean, vintage"), (Words{"clean", "vintage"}));
  EXPECT_EQ(valuesOf("gain=0:10:2.5"), (Words{"0", "2.5", "5", "7.5", "10"}));
  EXPECT_EQ(valuesOf("gain=0:1:0.3"), (Words{"0", "0.3", "0.6", "0.9"}));
  EXPECT_EQ(valuesOf("gain=0.1:0.4:0.1"), (Words{"0.1", "0.2", "0.3", "0.4"}));
  EXPECT_EQ(valuesOf("gate=-60:-40:10"), (Words{"-60", "-50", "-40"}));
  EXPECT_EQ(valuesOf("gain=5:5:1"), (Words{"5"}));
  EXPECT_EQ(valuesOf("cab=c:/a.wav"), (Words{"c:/a.wav"}));
  EXPECT_EQ(Axis::parse("gain=2:8").count(), 601U);
  EXPECT_TRUE(Axis::parse("gain=2:8").isRange());
  for (const char* wrong : {"gain", "gain=", "gain=1,,2", "gain=0:1:2:3", "gain=0:1:0",
                            "gain=0:1:-1", "gain=1:0:1", "gain=0:1:1e-9"}) {
    EXPECT_THROW(Axis::parse(wrong), UsageError) << wrong;
  }
}

TEST(Combinations, AreDrawnEvenlyAndTheSameOnEveryMachine) {
  const std::vector<Axis> axes = {Axis::parse("gain=0:10"), Axis::parse("channel=clean,modern")};
  // Reckoned apart, from the definition of the generator: a seed that a data set names must draw
  // the same everywhere and always.
  const std::vector<Combination> pinned = {{792, 0}, {911, 0}, {621, 0}};
  EXPECT_EQ(randomCombinations(axes, 3, 7), pinned);
  const std::vector<Combination> many = randomCombinations(axes, 1500, 1);
  EXPECT_EQ(std::set(many.begin(), many.end()).size(), 1500U);
  std::vector<int> inTenth(10);
  for (const Combination& each : many) ++inTenth.at(std::min(each[0] / 100, 9U));
  for (const int count : inTenth) EXPECT_NEAR(count, 150, 45);
  EXPECT_EQ(randomCombinations(axes, 5000, 1).size(), 2002U);  // all there are
}

struct Left {
  std::string list;
  std::vector<std::string> files;
};

Left sweepInto(const Scratch& folder, const char* name, int threads) {
  SweepSettings settings;
  settings.axes = {Axis::parse("gain=1:9"), Axis::parse("channel=clean,vintage,modern")};
  settings.random = 12;
  const Sweep sweep({folder / "takes"}, folder / name, settings);
  Manifest manifest(sweep.folder());
  Progress quiet(false);
  const SweepResult result = runSweep(plugin(), sweep, manifest, threads, quiet);
  EXPECT_EQ(result.made, 24U);
  EXPECT_TRUE(result.errors.empty());
  Left left{contentOf(manifest.file()), {}};
  for (const std::string& output : sweep.outputs()) {
    left.files.push_back(contentOf(sweep.folder() / output));
  }
  return left;
}

TEST(Sweep, LeavesTheSameWhateverTheNumberOfThreads) {
  const Scratch folder;
  std::filesystem::create_directory(folder / "takes");
  for (const char* name : {"takes/a.wav", "takes/b.wav"}) {
    test::Audio take{.rate = 48000, .channels = 1, .samples = {}};
    for (int i = 0; i < 2400; ++i) take.samples.push_back(0.3 * std::sin(0.02 * i));
    test::writeAudio(folder / name, take);
  }
  const Left one = sweepInto(folder, "one", 1);
  const Left four = sweepInto(folder, "four", 4);
  EXPECT_EQ(one.list, four.list);
  EXPECT_EQ(one.files, four.files);
  EXPECT_EQ(std::set(one.files.begin(), one.files.end()).size(), 24U);
}

}  // namespace
}  // namespace quellard
