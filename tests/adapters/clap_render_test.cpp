// SPDX-License-Identifier: ISC
// The CLAP file plays a preset as `quellard render` renders it: every bit in double precision, the
// nearest float in single, whatever the blocks.
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <sndfile.hh>
#include <string>
#include <unistd.h>

#include "adapters/clap/presets.h"
#include "params/factory_bank.h"
#include "tests/adapters/buffers.h"
#include "tests/adapters/clap_host.h"

namespace quellard::test {
namespace {

struct Sound {
  int rate = 0;
  Channels<double> channels;
};

Sound readSound(const std::string& file) {
  SndfileHandle handle(file);
  const auto count = static_cast<std::size_t>(handle.channels());
  std::vector<double> all(static_cast<std::size_t>(handle.frames()) * count);
  handle.readf(all.data(), handle.frames());
  Sound sound{handle.samplerate(), Channels<double>(count)};
  for (std::size_t i = 0; i < all.size(); ++i) sound.channels[i % count].push_back(all[i]);
  return sound;
}

Sound rendered(const std::string& take, const std::string& preset) {
  const std::string file =
      std::filesystem::temp_directory_path() / ("clap-" + std::to_string(getpid()) + ".wav");
  const std::string command = std::string(QUELLARD_COMMAND) + " render -q --format double " +
                              "--plugin " QUELLARD_PLUGIN_FILE " --preset '" + preset + "' -o " +
                              file + " " + take;
  EXPECT_EQ(std::system(command.c_str()), 0) << command;
  const Sound sound = readSound(file);
  std::filesystem::remove(file);
  return sound;
}

template <typename Sample>
Channels<Sample> played(const Sound& take, const char* preset, Random& random) {
  constexpr int kMost = 777;
  ClapInstance plugin(take.channels.size() == 1 ? ClapInstance::kMono : ClapInstance::kStereo);
  const auto& presets = plugin.extension<ClapPresetLoad>(kPresetLoadExtension);
  EXPECT_TRUE(presets.fromLocation(plugin.get(), kPresetInPlugin, nullptr, preset));
  EXPECT_TRUE(plugin.activate(take.rate, kMost));
  Channels<Sample> io;
  for (const auto& channel : take.channels) {
    io.emplace_back();
    for (const double x : channel) io.back().push_back(static_cast<Sample>(x));
  }
  const std::size_t length = io.front().size();
  for (std::size_t done = 0; done < length;) {
    const auto frames = std::min(static_cast<std::size_t>(random.integer(1, kMost)), length - done);
    std::vector<Sample*> pointers;
    for (auto& channel : io) pointers.push_back(&channel[done]);
    clap_audio_buffer_t buffer = bufferOf(pointers);
    plugin.process(buffer, buffer, static_cast<std::uint32_t>(frames), nullptr);
    done += frames;
  }
  return io;
}

TEST(ClapRender, PlaysAPresetAsTheCommandRendersIt) {
  Random random(sessionSeed() ^ 0x4E4D);
  const std::string folder = "/usr/share/sonic-pi/samples/";
  if (!std::filesystem::is_directory(folder)) {
    GTEST_SKIP() << "the package sonic-pi-samples is not installed";
  }
  const std::array<const char*, 3> takes = {"guit_em9", "guit_harmonics", "guit_e_slide"};
  for (std::size_t i = 0; i < takes.size(); ++i) {
    const FactoryPreset& preset = kFactoryBank[i * 5];  // one of each channel
    SCOPED_TRACE(std::string(takes[i]) + " through " + preset.name);
    const Sound take = readSound(folder + takes[i] + ".flac");
    const Sound wanted = rendered(folder + takes[i] + ".flac", preset.name);
    const Channels<double> twice = played<double>(take, preset.name, random);
    const Channels<float> single = played<float>(take, preset.name, random);
    ASSERT_EQ(twice.size(), wanted.channels.size());
    for (std::size_t side = 0; side < twice.size(); ++side) {
      expectPlayed(twice[side], wanted.channels[side]);
      expectPlayed(single[side], wanted.channels[side]);
    }
  }
}

}  // namespace
}  // namespace quellard::test
