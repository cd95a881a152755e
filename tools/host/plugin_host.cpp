// SPDX-License-Identifier: ISC
#include "tools/host/plugin_host.h"

#include <array>
#include <fmt/format.h>
#include <mutex>
#include <system_error>
#include <vector>

#include "tools/common/errors.h"
#include "tools/files/user_folders.h"
#include "tools/files/utf8_path.h"
#include "tools/host/loaded_library.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

// Instances are set up one at a time, as in most hosts.
std::mutex setupMutex;

std::intptr_t hostCallback(AEffect* /*effect*/, std::int32_t opcode, std::int32_t /*index*/,
                           std::intptr_t /*value*/, void* /*pointer*/, float /*option*/) {
  return opcode == audioMasterVersion ? kVstVersion : 0;
}

std::vector<fs::path> defaultFiles() {
  const fs::path name = libraryName("quellard");
  const fs::path folder = programFile().parent_path();
  return {folder / name, (folder / QUELLARD_PLUGIN_FROM_COMMAND / name).lexically_normal()};
}

}  // namespace

void PluginModule::Unload::operator()(void* handle) const { closeLibrary(handle); }

fs::path PluginModule::find(const std::string& chosen) {
  if (!chosen.empty()) return pathFrom(chosen);
  fs::path fromEnvironment = pathFromVariable("QUELLARD_PLUGIN");
  if (!fromEnvironment.empty()) return fromEnvironment;
  std::string tried;
  for (const fs::path& file : defaultFiles()) {
    std::error_code error;
    if (fs::exists(file, error)) return file;
    tried += (tried.empty() ? "" : " or ") + file.string();
  }
  throw FileError(fmt::format("cannot find the plug-in as {}; name it with --plugin", tried));
}

PluginModule::PluginModule(const fs::path& file) : file_(file) {
  std::string why;
  handle_.reset(openLibrary(file, why));
  if (handle_ == nullptr) {
    throw FileError(fmt::format("cannot load the plug-in {}: {}", file.string(), why));
  }
  entry_ = reinterpret_cast<Entry>(symbolIn(handle_.get(), "getinterface"));
  if (entry_ == nullptr) {
    throw FileError(fmt::format("{} is not the plug-in: it has no getinterface", file.string()));
  }
}

AEffect* PluginModule::createEffect() const {
  const std::lock_guard lock(setupMutex);
  // The interface object is only needed for the record that it carries.
  const std::unique_ptr<Orv_TypeIF> interface(entry_(hostCallback));
  AEffect* effect = interface != nullptr ? interface->effect : nullptr;
  if (effect == nullptr || effect->magic != kEffectMagic) {
    throw FileError(fmt::format("{} creates no effect", file_.string()));
  }
  const bool playsDoubles = (effect->flags & effFlagsCanDoubleReplacing) != 0;
  if (!playsDoubles || effect->numInputs != 1 || effect->numOutputs != 1) {
    effect->dispatcher(effect, effClose, 0, 0, nullptr, 0.0f);
    throw FileError(fmt::format("{} is not a mono double-precision effect", file_.string()));
  }
  return effect;
}

PluginInstance::PluginInstance(const PluginModule& module) : effect_(module.createEffect()) {
  const std::lock_guard lock(setupMutex);
  call(effOpen);
}

PluginInstance::~PluginInstance() {
  const std::lock_guard lock(setupMutex);
  call(effMainsChanged, 0, 0);
  call(effClose);
}

void PluginInstance::start(double rate, int blockLength) {
  const std::lock_guard lock(setupMutex);
  call(effSetProcessPrecision, 0, 1);
  call(effSetSampleRate, 0, 0, nullptr, static_cast<float>(rate));
  call(effSetBlockSize, 0, blockLength);
  call(effMainsChanged, 0, 1);
}

void PluginInstance::process(const double* input, double* output, int frames) {
  // The interface has no const; the plug-in only reads its input.
  double* inputs[1] = {const_cast<double*>(input)};
  double* outputs[1] = {output};
  effect_->processDoubleReplacing(effect_, inputs, outputs, frames);
}

std::intptr_t PluginInstance::call(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                                   void* pointer, float option) const {
  return effect_->dispatcher(effect_, opcode, index, value, pointer, option);
}

// The classes behind the object are the plug-in's, and only their layout is shared with it: a check
// of their type would want them linked.
__attribute__((no_sanitize("vptr"))) HostExtension* PluginInstance::extension() const {
  if (effect_->uniqueID != fourCharacters("QULL")) return nullptr;
  return static_cast<HostExtension*>(static_cast<AudioEffect*>(effect_->object));
}

std::string PluginInstance::text(std::int32_t opcode, std::int32_t index,
                                 std::intptr_t value) const {
  std::array<char, 256> buffer = {};  // generous: some plug-ins overrun the published lengths
  call(opcode, index, value, buffer.data());
  return buffer.data();
}

}  // namespace quellard
