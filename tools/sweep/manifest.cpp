// SPDX-License-Identifier: ISC
#include "tools/sweep/manifest.h"

#include <cerrno>
#include <fmt/format.h>
#include <fstream>
#include <system_error>
#include <utility>

#include "params/sizes.h"
#include "tools/common/errors.h"
#include "tools/common/json_text.h"
#include "tools/files/locked_file.h"
#include "tools/files/output_file.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

using Json = nlohmann::ordered_json;

struct Row {
  std::string output;  // "" for what is no row
  std::string text;    // as this library writes it, whoever wrote it before
};

Row parseRow(const std::string& line) {
  const Json json = Json::parse(line, nullptr, false);
  if (!json.is_object()) return {};
  const auto output = json.find("output");
  if (output == json.end() || !output->is_string()) return {};
  return {output->get<std::string>(), jsonText(json)};
}

void readRows(const fs::path& file, ManifestRows& rows) {
  std::ifstream text(file, std::ios::binary);
  std::error_code error;
  if (!text) {
    if (!fs::exists(file, error)) return;
    throw FileError(fmt::format("cannot read {}: {}", file.string(), systemMessage(errno)));
  }
  for (std::string line; std::getline(text, line);) {
    auto [output, row] = parseRow(line);
    if (!output.empty()) rows[output] = std::move(row);
  }
}

fs::path listIn(const fs::path& folder) { return folder / kManifestName; }
fs::path partialListIn(const fs::path& folder) { return folder / "manifest.partial.jsonl"; }

}  // namespace

ManifestRows readManifest(const fs::path& folder) {
  ManifestRows rows;
  readRows(listIn(folder), rows);
  readRows(partialListIn(folder), rows);
  return rows;
}

Manifest::Manifest(const fs::path& folder)
    : file_(listIn(folder)), partial_(partialListIn(folder)) {
  makeFolder(folder);
  journal_ = openLocked(partial_);
  if (!journal_) {
    throw FileError(fmt::format("another sweep is writing to {}", folder.string()));
  }
  rows_ = readManifest(folder);
  // Behind a line that was cut, a new one begins.
  append("\n");
}

std::string Manifest::find(const std::string& output) const {
  const std::lock_guard lock(mutex_);
  const auto row = rows_.find(output);
  return row != rows_.end() ? row->second : "";
}

void Manifest::add(const std::string& row) {
  auto [output, text] = parseRow(row);
  if (output.empty()) throw UsageError("not a row of a sweep's list");
  const std::lock_guard lock(mutex_);
  if (!journal_) throw FileError(fmt::format("{} is closed", file_.string()));
  std::string& kept = rows_[output];
  if (kept == text) return;
  kept = std::move(text);
  append(kept + '\n');
}

void Manifest::append(const std::string& text) const {
  const std::int64_t size = std::ssize(text);
  if (writeAll(journal_, text.data(), size) != size) failWriting(partial_, errno);
}

std::vector<std::string> Manifest::finish(const std::vector<std::string>& outputs) {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> rows;
  ManifestRows others = rows_;
  for (const std::string& output : outputs) {
    const auto other = others.extract(output);
    if (!other.empty()) rows.push_back(other.mapped());
  }
  OutputFile whole(file_);
  const auto put = [&whole](const std::string& row) {
    whole.write(row.data(), std::ssize(row));
    whole.write("\n", 1);
  };
  for (const std::string& row : rows) put(row);
  for (const auto& [output, row] : others) put(row);
  whole.commit();
  removeLocked(partial_);
  return rows;
}

}  // namespace quellard
