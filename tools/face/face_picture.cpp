// SPDX-License-Identifier: ISC
#include "tools/face/face_picture.h"

#include <cmath>
#include <png.h>
#include <vector>

#include "face/face.h"
#include "face/painter.h"
#include "params/words.h"
#include "tools/common/errors.h"
#include "tools/face/face_presets.h"
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
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(picture.width());
  image.height = static_cast<png_uint_32>(picture.height());
  image.format = PNG_FORMAT_RGB;
  std::vector<png_byte> bytes;
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      const std::uint32_t pixel = picture.row(y)[x];
      for (const unsigned shift : {16U, 8U, 0U}) {
        bytes.push_back(static_cast<png_byte>(pixel >> shift & 0xFFU));
      }
    }
  }
  std::vector<png_byte> encoded(PNG_IMAGE_PNG_SIZE_MAX(image));
  png_alloc_size_t size = encoded.size();
  if (png_image_write_to_memory(&image, encoded.data(), &size, 0, bytes.data(), 0, nullptr) == 0) {
    throw FileError("cannot encode " + path.string());
  }
  file.write(encoded.data(), static_cast<std::int64_t>(size));
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
