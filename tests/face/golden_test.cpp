// SPDX-License-Identifier: ISC
// Pictures of the face in a dozen states, compared with those in golden/, which a person has looked
// at. One that differs fails and leaves two pictures in the build folder: what was painted, and the
// differences, amplified. With QUELLARD_WRITE_GOLDEN set, the pictures are written instead.
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>

#include "face/face.h"
#include "face/painter.h"
#include "params/factory_bank.h"
#include "tests/face/png_file.h"
#include "tests/face/recording_target.h"

namespace quellard {
namespace {

// Of a colour, 0..255: what another C library's sine may change.
constexpr int kTolerance = 3;

Bytes bytesOf(const Picture& picture) {
  Bytes bytes;
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      for (const unsigned shift : {16U, 8U, 0U}) {
        bytes.push_back(static_cast<std::uint8_t>(picture.row(y)[x] >> shift & 0xFFU));
      }
    }
  }
  return bytes;
}

struct Scene {
  const char* name;
  std::function<void(Face&, RecordingTarget&)> set;
};

void PrintTo(const Scene& scene, std::ostream* out) { *out << scene.name; }

void drag(Face& face, int parameter, float by) {
  const Point at = controls()[static_cast<std::size_t>(knobControl(parameter))].center;
  face.press(at, MouseButton::left, false, 1.0);
  face.drag({at.x, at.y - by}, false);
}

void tabs(Face& face, int count) {
  for (int i = 0; i < count; ++i) face.key(Key::tab, false);
}

void openMenu(Face& face) {
  tabs(face, 2);
  face.key(Key::enter, false);
}

const std::vector<Scene>& scenes() {
  static const std::vector<Scene> kAll = {
      {"init", [](Face&, RecordingTarget&) {}},
      {"clean",
       [](Face&, RecordingTarget& amp) {
         amp.values = withAmplifier(amp.values, presetValues(kFactoryBank[2]));
       }},
      {"vintage-changed",
       [](Face& face, RecordingTarget& amp) {
         amp.values = withAmplifier(amp.values, presetValues(kFactoryBank[7]));
         face.update(0.03);
         amp.values[12] = 0.9F;
       }},
      {"knobs-at-their-ends",
       [](Face&, RecordingTarget& amp) {
         for (int index = 1; index <= kNumKnobs; ++index) {
           amp.values[index] = index % 2 == 0 ? 0.0F : 1.0F;
         }
         amp.values[kInputParameter] = 0.0F;
         amp.values[kOutputParameter] = 1.0F;
       }},
      {"bypassed", [](Face&, RecordingTarget& amp) { amp.values[kBypassParameter] = 1.0F; }},
      {"playing",
       [](Face&, RecordingTarget& amp) {
         amp.values[kInputParameter] = valueFromLevel_db(6.0);
         amp.values[kGateParameter] = valueFromGate_dbfs(-60.0);
         amp.heard = {0.1F, 0.4F, true};
         amp.cabinetName = "4x12 closed back";
       }},
      {"clipping",
       [](Face&, RecordingTarget& amp) {
         amp.values[kGateParameter] = valueFromGate_dbfs(-40.0);
         amp.heard = {1.2F, 1.7F, false};
         amp.cabinetName = "none";
       }},
      {"dragging", [](Face& face, RecordingTarget&) { drag(face, 15, 60.0F); }},
      {"focus", [](Face& face, RecordingTarget&) { tabs(face, 7); }},
      {"typing",
       [](Face& face, RecordingTarget&) {
         tabs(face, 20);
         for (const char32_t c : U"7.25") {
           if (c != 0) face.type(c);
         }
       }},
      {"typed-wrong",
       [](Face& face, RecordingTarget&) {
         tabs(face, 26);
         for (const char32_t c : {U'6', U'x'}) face.type(c);
         face.key(Key::enter, false);
       }},
      {"menu", [](Face& face, RecordingTarget&) { openMenu(face); }},
      {"menu-with-own-presets",
       [](Face& face, RecordingTarget& amp) {
         std::vector<FacePreset> presets = factoryFacePresets();
         for (const char* const name :
              {"Für Elise", "Ночь", "A name that is far too long for its row", "Four", "Five",
               "Six"}) {
           presets.push_back({name, name == std::string("Four") ? "" : "My own",
                              presetValues(kFactoryBank[9]), false});
         }
         amp.values[1] = 0.2F;
         face.update(0.03);
         face.setPresets(presets, 14);
         face.setUnreadableFiles(2);
         openMenu(face);
         face.key(Key::end, false);
       }},
  };
  return kAll;
}

class Golden : public testing::TestWithParam<std::tuple<int, Scene>> {};

TEST_P(Golden, PictureIsTheOneThatWasLookedAt) {
  const auto& [percent, scene] = GetParam();
  RecordingTarget target;
  Face face(target, factoryFacePresets());
  scene.set(face, target);
  face.update(0.03);
  const int width = 960 * percent / 100;
  const int height = 600 * percent / 100;
  FacePicture picture;
  picture.resize(width, height);
  picture.repaint(face.state(), face.presets());
  const Bytes painted = bytesOf(picture.picture());

  const std::string name = std::string(scene.name) + "-" + std::to_string(percent);
  const std::filesystem::path golden = std::filesystem::path(QUELLARD_GOLDEN) / (name + ".png");
  if (std::getenv("QUELLARD_WRITE_GOLDEN") != nullptr) {
    writePng(golden, painted, width, height);
    GTEST_SKIP() << "written";
  }
  const Bytes expected = readPng(golden, width, height);
  ASSERT_EQ(expected.size(), painted.size()) << golden << " is missing or of another size";
  Bytes differences(painted.size());
  int largest = 0;
  for (std::size_t i = 0; i < painted.size(); ++i) {
    const int difference = std::abs(int{painted[i]} - int{expected[i]});
    largest = std::max(largest, difference);
    differences[i] = static_cast<std::uint8_t>(std::min(difference * 8, 255));
  }
  if (largest <= kTolerance) return;
  const std::filesystem::path folder = QUELLARD_DIFFERENCES;
  writePng(folder / (name + ".png"), painted, width, height);
  writePng(folder / (name + "-difference.png"), differences, width, height);
  ADD_FAILURE() << "differs by up to " << largest << ": see "
                << folder / (name + "-difference.png");
}

INSTANTIATE_TEST_SUITE_P(Scales, Golden,
                         testing::Combine(testing::Values(100, 150, 200),
                                          testing::ValuesIn(scenes())),
                         [](const auto& test) {
                           std::string name = std::get<1>(test.param).name;
                           std::erase(name, '-');
                           return name + std::to_string(std::get<0>(test.param));
                         });

}  // namespace
}  // namespace quellard
