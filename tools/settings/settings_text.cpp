// SPDX-License-Identifier: ISC
#include "tools/settings/settings_text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <vector>

#include "params/sizes.h"
#include "params/words.h"
#include "tools/common/errors.h"
#include "tools/common/parsing.h"
#include "tools/files/output_file.h"
#include "tools/settings/knobs.h"
#include "tools/settings/rig_options.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

constexpr std::size_t kLongestText = 1 << 16;

struct Line {
  std::string where;  // "NAME:3: ", the beginning of messages
  std::string name;
  std::string value;
};

// A selector between the channels' values, which hosts can set, is written as a number.
std::string selectorLine(float value) {
  const int channel = channelFromSelect(value);
  if (selectFromChannel(channel) != value) return fmt::format("{} = {}\n", kTypeParameter, value);
  return fmt::format("channel = {}\n", channelWord(channel));
}

std::string knobLine(const ParameterInfo& knob, float value) {
  return fmt::format("{}.{} = {}\n", channelWord(knob.channel), lowered(knob.name),
                     positionFromKnob(value));
}

std::string rigLines(const HostedValues& values) {
  std::string text;
  for (const RigParameterInfo& rig : kRigParameters) {
    const float value = values[rig.index];
    if (rig.index == kBypassParameter || value == rig.neutral) continue;
    text += fmt::format("{} = {}\n", rig.word, rigValueText(rig.index, value));
  }
  return text;
}

constexpr const char* kCabinet = "cab";
constexpr const char* kCabinetLevel = "cab level";

std::string cabinetLines(const CabinetChoice& cabinet) {
  if (cabinet.file.empty()) return "";
  std::string text = fmt::format("{} = {}\n", kCabinet, pathAsText(cabinet.file));
  if (cabinet.level_db != 0.0) text += fmt::format("{} = {}\n", kCabinetLevel, cabinet.level_db);
  return text;
}

// Removes the first line of a text and returns it.
std::string_view takeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

template <typename Task>
void complainingAbout(const std::string& where, Task&& task) {
  try {
    task();
  } catch (const UsageError& error) {
    throw UsageError(where + error.what());
  }
}

std::vector<Line> linesOf(std::string_view text, const std::string& name) {
  std::vector<Line> lines;
  for (int number = 1; !text.empty(); ++number) {
    const std::string_view line = takeLine(text);
    const std::string_view assignment = trimmed(line.substr(0, line.find('#')));
    if (assignment.empty()) continue;
    const std::string where = fmt::format("{}:{}: ", name, number);
    complainingAbout(where, [&] {
      auto [knob, value] = splitAssignment(assignment);
      lines.push_back({where, std::move(knob), std::move(value)});
    });
  }
  return lines;
}

const RigParameterInfo* findRigParameter(std::string_view name) {
  for (const RigParameterInfo& rig : kRigParameters) {
    if (rig.index != kBypassParameter && sameWord(name, rig.word)) return &rig;
  }
  return nullptr;
}

void applyRigLines(const std::vector<Line>& lines, HostedValues& values) {
  for (const Line& line : lines) {
    const RigParameterInfo* const rig = findRigParameter(line.name);
    if (rig == nullptr) continue;
    complainingAbout(
        line.where, [&] { values[rig->index] = parseRigValue(rig->index, rig->word, line.value); });
  }
}

bool namesCabinet(std::string_view name) {
  return sameWord(name, kCabinet) || sameWord(name, kCabinetLevel);
}

void applyCabinetLines(const std::vector<Line>& lines, CabinetChoice& cabinet) {
  for (const Line& line : lines) {
    if (sameWord(line.name, kCabinet))
      cabinet.file = cabinetNamed(pathFromText(line.value).string());
    if (!sameWord(line.name, kCabinetLevel)) continue;
    complainingAbout(line.where,
                     [&] { cabinet.level_db = parseCabinetLevel_db(kCabinetLevel, line.value); });
  }
}

void apply(const std::vector<Line>& lines, bool selector, int channel, HostedValues& values) {
  for (const Line& line : lines) {
    if (findRigParameter(line.name) != nullptr || namesCabinet(line.name)) continue;
    if (namesSelector(line.name) != selector) continue;
    complainingAbout(line.where, [&] {
      const auto [parameter, value] = parseParameterChange(line.name, line.value, channel);
      values[parameter] = value;
    });
  }
}

std::string descriptionOf(std::string_view text) {
  const std::string_view first = trimmed(takeLine(text));
  return first.starts_with('#') ? oneLine(trimmed(first.substr(1))) : std::string();
}

[[noreturn]] void failReading(const fs::path& file, const std::string& why) {
  throw FileError(fmt::format("cannot read {}: {}", file.string(), why));
}

}  // namespace

std::string writeSettings(const SettingsText& settings) {
  const float selector = settings.values[kTypeParameter];
  std::string text;
  if (!settings.description.empty()) text += fmt::format("# {}\n", settings.description);
  text += selectorLine(selector);
  for (const ParameterInfo& info : kParameters) {
    if (info.kind != ParameterKind::knob) continue;
    const float value = settings.values[info.index];
    const bool named = info.channel == channelFromSelect(selector) || value != kKnobDefault;
    if (named) text += knobLine(info, value);
  }
  return text + rigLines(settings.values) + cabinetLines(settings.cabinet);
}

SettingsText parseSettings(std::string_view text, const std::string& name) {
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  SettingsText settings = {descriptionOf(text)};
  const std::vector<Line> lines = linesOf(text, name);
  apply(lines, true, 0, settings.values);
  apply(lines, false, channelFromSelect(settings.values[kTypeParameter]), settings.values);
  applyRigLines(lines, settings.values);
  applyCabinetLines(lines, settings.cabinet);
  return settings;
}

SettingsText readSettings(const fs::path& file) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (!fs::exists(status)) failReading(file, error ? systemMessage(error) : systemMessage(ENOENT));
  // Reading a pipe would wait, and a device might never end.
  if (!fs::is_regular_file(status)) failReading(file, "not an ordinary file");
  std::ifstream stream(file, std::ios::binary);
  if (!stream) failReading(file, systemMessage(errno));
  std::string text(kLongestText + 1, '\0');
  stream.read(text.data(), std::ssize(text));
  text.resize(asSize(stream.gcount()));
  if (stream.bad()) failReading(file, systemMessage(errno));
  if (text.size() > kLongestText) failReading(file, "too long for a list of settings");
  return parseSettings(text, file.string());
}

void saveSettings(const fs::path& file, const SettingsText& settings) {
  std::error_code error;
  if (file.has_parent_path()) fs::create_directories(file.parent_path(), error);
  if (error)
    throw FileError(fmt::format("cannot write {}: {}", file.string(), systemMessage(error)));
  const std::string text = writeSettings(settings);
  OutputFile output(file);
  output.write(text.data(), std::ssize(text));
  output.commit();
}

}  // namespace quellard
