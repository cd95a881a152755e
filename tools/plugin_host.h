// SPDX-License-Identifier: ISC
// The host's side of the plug-in interface: finds and loads the module, creates amplifiers and
// plays blocks through them. It knows the amplifier only as any host does, through the exported
// entry and the record that the entry hands out.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "shell/orv_type.h"

namespace quellard {

class PluginModule;

// The effect's class as a host declares it: what the effect adds behind the common operations, in
// its order.
class HostExtension : public Orv_TypeBase {
 public:
  virtual int getNumOfOut1Jacks() = 0;   // NOLINT(bugprone-virtual-near-miss)
  virtual int getNumOfOut1Sig(int) = 0;  // NOLINT(bugprone-virtual-near-miss)
};

// One instance of the amplifier: one channel of audio. Calls must not overlap; different instances
// may run on different threads.
class PluginInstance {
 public:
  // Throws FileError when the module yields no usable effect.
  explicit PluginInstance(const PluginModule& module);
  ~PluginInstance();
  PluginInstance(const PluginInstance&) = delete;
  PluginInstance& operator=(const PluginInstance&) = delete;

  // Readies the amplifier to play at this rate. rate: Hz, kLowestRate..kHighestRate.
  // blockLength: the longest block, in frames.
  void start(double rate, int blockLength);

  // program: 0..15.
  void setProgram(int program) { call(effSetProgram, 0, program); }

  // index: 1..19. value: 0..1.
  void setParameter(int index, float value) { effect_->setParameter(effect_, index, value); }
  float parameter(int index) const { return effect_->getParameter(effect_, index); }

  // Plays one block. input and output: frames doubles each, full scale is 1; may be the same.
  void process(const double* input, double* output, int frames);

  // Any other question a host may ask. text() gives what the plug-in writes for a text opcode,
  // empty where it writes nothing.
  std::intptr_t call(std::int32_t opcode, std::int32_t index = 0, std::intptr_t value = 0,
                     void* pointer = nullptr, float option = 0.0f) const;
  std::string text(std::int32_t opcode, std::int32_t index = 0, std::intptr_t value = 0) const;
  const AEffect& record() const { return *effect_; }

  // What this amplifier's own host asks beyond the published interface; null for another plug-in.
  HostExtension* extension() const;

 private:
  AEffect* effect_;
};

class PluginModule {
 public:
  // Rates that make sense for audio files and that every part of the chain accepts, in Hz.
  static constexpr int kLowestRate = 1000;
  static constexpr int kHighestRate = 1'000'000;

  // Throws FileError when the file is missing, is no module, or has no entry.
  explicit PluginModule(const std::filesystem::path& file);

  // Where the plug-in is: chosen, if not empty; else $QUELLARD_PLUGIN; else beside the running
  // command, as in a build tree; else in the library folder of an installed command. Throws
  // FileError naming the places when it is nowhere.
  static std::filesystem::path find(const std::string& chosen);

  const std::filesystem::path& file() const { return file_; }

 private:
  friend class PluginInstance;
  AEffect* createEffect() const;

  struct Unload {
    void operator()(void* handle) const;
  };
  std::filesystem::path file_;
  std::unique_ptr<void, Unload> handle_;
  void* entry_ = nullptr;
};

}  // namespace quellard
