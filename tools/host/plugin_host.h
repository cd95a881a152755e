// SPDX-License-Identifier: ISC
// The command as a host: finds and loads the plug-in's module, creates instances and plays blocks
// through them. Like any host it uses only the exported entry and the record that this returns.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "shell/orv_type.h"

namespace quellard {

class PluginModule;

// The effect's class as a host declares it: the operations that follow the base class's, in the
// effect's order.
class HostExtension : public Orv_TypeBase {
 public:
  virtual int getNumOfOut1Jacks() = 0;   // NOLINT(bugprone-virtual-near-miss)
  virtual int getNumOfOut1Sig(int) = 0;  // NOLINT(bugprone-virtual-near-miss)
};

// One instance of the amplifier: one channel of audio. Calls must not overlap; different instances
// may run on different threads.
class PluginInstance {
 public:
  // Throws FileError when the module creates no usable effect.
  explicit PluginInstance(const PluginModule& module);
  ~PluginInstance();
  PluginInstance(const PluginInstance&) = delete;
  PluginInstance& operator=(const PluginInstance&) = delete;

  // Prepares for playing. rate: Hz, kLowestRate..kHighestRate. blockLength: the longest block, in
  // frames.
  void start(double rate, int blockLength);

  // program: 0..15.
  void setProgram(int program) { call(effSetProgram, 0, program); }

  // index: 1..19. value: 0..1.
  void setParameter(int index, float value) { effect_->setParameter(effect_, index, value); }
  float parameter(int index) const { return effect_->getParameter(effect_, index); }

  // Plays one block of `frames` doubles; full scale is 1. Input and output may be the same buffer.
  void process(const double* input, double* output, int frames);

  // Sends any other opcode. text() returns what the plug-in writes for an opcode with a text, ""
  // where it writes nothing.
  std::intptr_t call(std::int32_t opcode, std::int32_t index = 0, std::intptr_t value = 0,
                     void* pointer = nullptr, float option = 0.0f) const;
  std::string text(std::int32_t opcode, std::int32_t index = 0, std::intptr_t value = 0) const;
  const AEffect& record() const { return *effect_; }

  // The extension for this amplifier's own host; null for another plug-in.
  HostExtension* extension() const;

 private:
  AEffect* effect_;
};

class PluginModule {
 public:
  // Rates in Hz that all parts of the command accept.
  static constexpr int kLowestRate = 1000;
  static constexpr int kHighestRate = 1'000'000;

  // Throws FileError when the file is missing, is no module, or has no entry.
  explicit PluginModule(const std::filesystem::path& file);

  // A plug-in that is linked into this program. entry: its getinterface.
  using Entry = Orv_TypeIF* (*)(audioMasterCallback);
  explicit PluginModule(Entry entry) : file_("the amplifier"), entry_(entry) {}

  // The plug-in's file: `chosen`, if not empty; else $QUELLARD_PLUGIN; else the one beside the
  // command, as in a build tree; else the one in the library folder of an installed command. Throws
  // FileError when there is none.
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
  Entry entry_ = nullptr;
};

}  // namespace quellard
