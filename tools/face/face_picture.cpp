// SPDX-License-Identifier: ISC
#include "tools/face/face_picture.h"

#include <cmath>
#include <iterator>
#include <string>
#include <vector>

#include "face/face.h"
#include "face/painter.h"
#include "params/words.h"
#include "tools/common/errors.h"
#include "tools/face/face_presets.h"
#include "tools/face/png_encoding.h"
#include "tools/files/output_file.h"
#include "tools/settings/presets.h"

namespace quellard {
namespace {

// An amplifier that only has values.
class StillTarget : public FaceTarget {
 public:
  StillTarget(const HostedValues& values, const CabinetChoice& cabinet) : values_(values) {
    if (!cabinet.file.empty()) cabinet_ = cabinet.file.stem().string();
  }

  float value(int parameter) const override { return values_[parameter]; }
  void beginMove(int) override {}
  void move(int, float) override {}
  void endMove(int) override {}
  FaceLevels levels() override { return {}; }
  std::optional<std::string> cabinet() const override { return cabinet_; }

 private:
  HostedValues values_;
  std::optional<std::string> cabinet_;
};

int placeOf(const std::string& name, const std::vector<FacePreset>& presets) {
  const auto at = std::find_if(presets.begin(), presets.end(), [&](const FacePreset& preset) {
    return sameWord(preset.name, name);
  });
  return at != presets.end() ? static_cast<int>(at - presets.begin()) : -1;
}

void writePng(const Picture& picture, const std::filesystem::path& path) {
  OutputFile file(path);
  const std::string encoded = encodedPng(picture);
  if (encoded.empty()) throw FileError("cannot encode " + path.string());
  file.write(encoded.data(), std::ssize(encoded));
  file.commit();
}

}  // namespace

void drawFace(const HostedValues& values, const CabinetChoice& cabinet, const std::string& preset,
              double scale, const std::filesystem::path& picture) {
  if (lowered(picture.extension().string()) != ".png") {
    throw UsageError("the picture's name must end in .png: " + picture.string());
  }
  StillTarget target(values, cabinet);
  std::vector<FacePreset> presets = facePresetsOf(listPresetFiles().presets);
  const int chosen = preset.empty() ? -1 : placeOf(preset, presets);
  Face face(target, {});
  face.setPresets(std::move(presets), chosen);
  FacePicture painted;
  painted.resize(static_cast<int>(std::lround(scale * static_cast<double>(kFaceWidth))),
                 static_cast<int>(std::lround(scale * static_cast<double>(kFaceHeight))));
  painted.repaint(face.state(), face.presets());
  writePng(painted.picture(), picture);
}

}  // namespace quellard
