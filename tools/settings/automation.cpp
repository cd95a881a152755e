// SPDX-License-Identifier: ISC
#include "tools/settings/automation.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <fmt/format.h>
#include <fstream>
#include <optional>
#include <tuple>
#include <utility>

#include "params/parameter_values.h"
#include "params/sizes.h"
#include "tools/common/errors.h"
#include "tools/common/interrupt.h"
#include "tools/common/parsing.h"

namespace quellard {
namespace {

struct Line {
  int number;
  double seconds;
  std::string parameter;
  std::string value;
};

std::vector<std::string> splitFields(std::string_view text) {
  constexpr std::string_view kSeparators = ",; \t\r\n";
  text = text.substr(0, text.find('#'));
  std::vector<std::string> fields;
  std::size_t start = text.find_first_not_of(kSeparators);
  while (start != std::string_view::npos) {
    const std::size_t end = std::min(text.find_first_of(kSeparators, start), text.size());
    fields.emplace_back(text.substr(start, end - start));
    start = text.find_first_not_of(kSeparators, end);
  }
  return fields;
}

// A line of headings begins with a letter; "1..5" is a mistyped time and no heading.
bool isHeading(const std::vector<std::string>& fields) {
  return std::isalpha(static_cast<unsigned char>(fields.front().front())) != 0;
}

// Reads the next line, up to a limit, so that a file that is no text does not fill the memory.
bool nextLine(std::istream& text, std::string& line, const std::string& name, int number) {
  constexpr std::size_t kLongestLine = 4096;
  std::array<char, kLongestLine + 1> buffer = {};
  text.getline(buffer.data(), buffer.size());
  const auto taken = asSize(text.gcount());
  if (taken == kLongestLine && text.fail() && !text.bad()) {
    throw UsageError(
        fmt::format("{}:{}: a line of more than {} bytes", name, number, kLongestLine));
  }
  // gcount() includes the end of the line, if there is one.
  line.assign(buffer.data(), text.good() ? taken - 1 : taken);
  return !text.fail();
}

std::vector<Line> readLines(std::istream& text, const std::string& name) {
  std::vector<Line> lines;
  std::string content;
  bool first = true;
  for (int number = 1; nextLine(text, content, name, number); ++number) {
    if (number == 1 && content.starts_with(kByteOrderMark)) content.erase(0, kByteOrderMark.size());
    const std::vector<std::string> fields = splitFields(content);
    if (fields.empty()) continue;
    if (std::exchange(first, false) && isHeading(fields)) continue;
    const std::optional<double> seconds = parseNumber(fields.front());
    if (!seconds || fields.size() != 3) {
      throw UsageError(fmt::format("{}:{}: expected 'seconds, parameter, value'", name, number));
    }
    if (*seconds < 0.0) throw UsageError(fmt::format("{}:{}: negative time", name, number));
    lines.push_back({number, *seconds, fields[1], fields[2]});
  }
  return lines;
}

ParameterChange changeOf(const Line& line, const std::string& name, int channel) {
  try {
    return parseParameterChange(line.parameter, line.value, channel);
  } catch (const UsageError& error) {
    throw UsageError(fmt::format("{}:{}: {}", name, line.number, error.what()));
  }
}

}  // namespace

std::vector<Move> parseAutomation(std::istream& text, const std::string& name, int channel) {
  std::vector<Line> lines = readLines(text, name);
  std::sort(lines.begin(), lines.end(), [](const Line& a, const Line& b) {
    return std::tie(a.seconds, a.number) < std::tie(b.seconds, b.number);
  });
  std::vector<Move> moves;
  auto next = lines.cbegin();  // the first line whose selector, if any, is not yet applied
  for (auto line = lines.cbegin(); line != lines.cend(); ++line) {
    for (; next != lines.cend() && next->seconds <= line->seconds; ++next) {
      if (!namesSelector(next->parameter)) continue;
      channel = channelFromSelect(changeOf(*next, name, channel).value);
    }
    moves.push_back({line->seconds, changeOf(*line, name, channel)});
  }
  return moves;
}

std::vector<Move> readAutomation(const std::filesystem::path& file, int channel) {
  std::ifstream text(file);
  if (text) text.peek();  // a folder opens, but cannot be read
  if (!text && !text.eof()) {
    throwIfInterrupted();  // while it waited for a pipe
    throw FileError(fmt::format("cannot read {}: {}", file.string(), systemMessage(errno)));
  }
  text.clear(text.rdstate() & std::ios::badbit);
  std::vector<Move> moves = parseAutomation(text, file.string(), channel);
  throwIfInterrupted();
  if (text.bad()) throw FileError(fmt::format("cannot read {}", file.string()));
  return moves;
}

int channelAtStart(const std::vector<Move>& moves, int channel) {
  for (const Move& move : moves) {
    if (move.seconds > 0.0) break;
    if (move.change.parameter == kTypeParameter) channel = channelFromSelect(move.change.value);
  }
  return channel;
}

}  // namespace quellard
