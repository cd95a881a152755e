// SPDX-License-Identifier: ISC
#include "adapters/editor/user_presets.h"

#include <exception>
#include <fstream>
#include <locale>
#include <sstream>

#include "tools/face/face_presets.h"
#include "tools/files/output_file.h"
#include "tools/files/user_folders.h"
#include "tools/settings/presets.h"

namespace quellard {
namespace {

// In the user's state folder.
constexpr char kZoomFile[] = "face-zoom";

}  // namespace

FoundPresets foundPresets() try {
  const PresetList list = listPresetFiles();
  return {facePresetsOf(list.presets), static_cast<int>(list.errors.size())};
} catch (const std::exception&) {
  return {factoryFacePresets()};
}

double rememberedZoom() try {
  std::ifstream file(stateFolder() / kZoomFile);
  file.imbue(std::locale::classic());
  double zoom = 0.0;
  return file >> zoom && zoom > 0.0 ? zoom : 1.0;
} catch (const std::exception&) {
  return 1.0;
}

void rememberZoom(double zoom) try {
  const std::filesystem::path folder = stateFolder();
  if (folder.empty()) return;
  std::filesystem::create_directories(folder);
  OutputFile file(folder / kZoomFile);
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << zoom << '\n';
  file.write(text.str().data(), static_cast<std::int64_t>(text.str().size()));
  file.commit();
} catch (const std::exception&) {
  return;
}

}  // namespace quellard
