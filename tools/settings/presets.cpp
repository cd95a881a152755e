// SPDX-License-Identifier: ISC
#include "tools/settings/presets.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <optional>

#include "params/factory_bank.h"
#include "params/parameter_values.h"
#include "params/words.h"
#include "tools/common/errors.h"
#include "tools/common/parsing.h"
#include "tools/files/user_folders.h"
#include "tools/files/utf8_path.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

constexpr const char* kEnding = ".txt";
constexpr std::size_t kLongestName = 64;  // bytes

// What the system allows in no file's name, besides the slash, and names that stand for devices,
// with any ending.
#if defined(_WIN32)
constexpr std::string_view kNotInNames = R"(\:*?"<>|)";
constexpr std::array<std::string_view, 22> kDevices = {
    "con",  "prn",  "aux",  "nul",  "com1", "com2", "com3", "com4", "com5", "com6", "com7",
    "com8", "com9", "lpt1", "lpt2", "lpt3", "lpt4", "lpt5", "lpt6", "lpt7", "lpt8", "lpt9"};
#else
constexpr std::string_view kNotInNames;
constexpr std::array<std::string_view, 0> kDevices = {};
#endif

bool isDevice(std::string_view name) {
  const std::string stem = lowered(trimmed(name.substr(0, name.find('.'))));
  return std::ranges::find(kDevices, stem) != kDevices.end();
}

bool sameName(std::string_view a, std::string_view b) { return sameWord(trimmed(a), trimmed(b)); }

const FactoryPreset* factoryPreset(std::string_view name) {
  const auto* const found = std::ranges::find_if(
      kFactoryBank, [&](const auto& each) { return sameName(each.name, name); });
  return found != kFactoryBank.end() ? &*found : nullptr;
}

Preset asPreset(const FactoryPreset& preset) {
  return {preset.name, preset.description, presetValues(preset), true};
}

// The files of the user's presets, sorted by name. error: why their folder could not be read.
std::vector<fs::path> presetFiles(std::error_code& error) {
  std::vector<fs::path> files;
  const fs::path folder = presetFolder();
  if (folder.empty()) return files;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    const fs::path& path = it->path();
    const bool hidden = path.filename().string().starts_with('.');  // such as an editor's backups
    if (!hidden && path.extension() == kEnding) files.push_back(path);
  }
  std::sort(files.begin(), files.end(), [](const fs::path& a, const fs::path& b) {
    const std::string x = lowered(a.stem().string()), y = lowered(b.stem().string());
    return x != y ? x < y : a < b;
  });
  return files;
}

std::vector<fs::path> presetFiles() {
  std::error_code unreached;
  return presetFiles(unreached);
}

// The name is compared with the files in the folder, so that no name, such as "../x", leads out of
// it.
std::optional<fs::path> userFile(std::string_view name) {
  const std::vector<fs::path> files = presetFiles();
  const auto exact = [&](const fs::path& file) { return file.stem().string() == trimmed(name); };
  const auto near = [&](const fs::path& file) { return sameName(file.stem().string(), name); };
  auto found = std::find_if(files.begin(), files.end(), exact);
  if (found == files.end()) found = std::find_if(files.begin(), files.end(), near);
  return found != files.end() ? std::optional(*found) : std::nullopt;
}

Preset readPreset(const fs::path& file) {
  const std::string name = file.stem().string();
  const std::string fault = faultOfPresetName(name);
  if (!fault.empty()) throw UsageError(fmt::format("{}: {}", file.string(), fault));
  const SettingsText settings = readSettings(file);
  return {name, settings.description, amplifierValues(settings.values), false};
}

std::vector<std::string> knownNames() {
  const std::vector<fs::path> files = presetFiles();
  std::vector<std::string> names;
  names.reserve(kNumFactoryPresets + files.size());
  for (const FactoryPreset& preset : kFactoryBank) names.emplace_back(preset.name);
  for (const fs::path& file : files) names.push_back(file.stem().string());
  return names;
}

// A word in quotes for a shell.
std::string shellQuoted(std::string_view word) {
  std::string shell = "'";
  for (const char c : word) shell += c == '\'' ? "'\\''" : std::string(1, c);
  return shell + "'";
}

}  // namespace

fs::path presetFolder() {
  const fs::path folder = configurationFolder();
  return folder.empty() ? folder : folder / "presets";
}

PresetList listPresetFiles() {
  PresetList list;
  for (const FactoryPreset& preset : kFactoryBank) list.presets.push_back(asPreset(preset));
  std::error_code error;
  for (const fs::path& file : presetFiles(error)) {
    try {
      list.presets.push_back(readPreset(file));
    } catch (const std::exception& mistake) {
      list.errors.emplace_back(mistake.what());
    }
  }
  if (error && error != std::errc::no_such_file_or_directory) {  // the folder may not exist
    list.errors.push_back(
        fmt::format("cannot read {}: {}", presetFolder().string(), systemMessage(error)));
  }
  return list;
}

Preset findPreset(std::string_view name) {
  if (const FactoryPreset* preset = factoryPreset(name)) return asPreset(*preset);
  if (const auto file = userFile(name)) return readPreset(*file);
  throw UsageError(
      fmt::format("unknown preset '{}'{}", trimmed(name), suggestion(trimmed(name), knownNames())));
}

std::string faultOfPresetName(std::string_view name) {
  if (trimmed(name).empty()) return "a preset needs a name";
  if (trimmed(name) != name) return "a preset's name has no space at its ends";
  if (name.size() > kLongestName) return fmt::format("a name has at most {} bytes", kLongestName);
  if (oneLine(name) != name) return "a preset's name is UTF-8 without control characters";
  if (name.starts_with('.')) return "a preset's name does not begin with a dot";
  if (name.find('/') != std::string_view::npos) return "a preset's name has no slash";
  if (name.find_first_of(kNotInNames) != std::string_view::npos) {
    return fmt::format("a preset's name has none of {}", kNotInNames);
  }
  if (isDevice(name)) return fmt::format("'{}' is a device's name", name);
  if (const FactoryPreset* preset = factoryPreset(name)) {
    return fmt::format("'{}' is a factory preset's name", preset->name);
  }
  return "";
}

bool isUserPreset(std::string_view name) { return userFile(name).has_value(); }

void savePreset(std::string_view name, const ParameterValues& values) {
  const std::string fault = faultOfPresetName(name);
  if (!fault.empty()) throw UsageError(fault);
  const fs::path folder = presetFolder();
  if (folder.empty()) throw FileError("there is no home folder to keep presets in");
  const auto existing = userFile(name);
  saveSettings(existing ? *existing : folder / pathFrom(std::string(name) + kEnding),
               {"", withAmplifier(defaultHostedValues(), values)});
}

std::string presetOption(std::string_view name) {
  return (name.starts_with('-') ? "--preset=" : "--preset ") + shellQuoted(name);
}

}  // namespace quellard
