// SPDX-License-Identifier: ISC
// What is painted: only what changed, and then as if everything had been painted anew.
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <random>

#include "face/face.h"
#include "face/painter.h"
#include "face/theme.h"
#include "tests/face/recording_target.h"

namespace quellard {
namespace {

bool samePixels(const Picture& a, const Picture& b) {
  if (a.width() != b.width() || a.height() != b.height()) return false;
  for (int y = 0; y < a.height(); ++y) {
    if (std::memcmp(a.row(y), b.row(y), static_cast<std::size_t>(a.width()) * 4) != 0) return false;
  }
  return true;
}

int pixelsOf(const std::vector<PixelRect>& areas) {
  int sum = 0;
  for (const PixelRect& area : areas) sum += area.width() * area.height();
  return sum;
}

class Painting : public testing::Test {
 protected:
  std::vector<PixelRect> repaint() { return picture.repaint(face.state(), face.presets()); }

  // The picture as it would be if all of it were painted now.
  bool isAsPaintedAnew() {
    FacePicture anew;
    anew.resize(picture.picture().width(), picture.picture().height());
    anew.repaint(face.state(), face.presets());
    return samePixels(picture.picture(), anew.picture());
  }

  RecordingTarget target;
  Face face{target, factoryFacePresets()};
  FacePicture picture;
};

// In windows of odd sizes too, where the face has margins.
TEST_F(Painting, PartByPartGivesTheSamePixelsAsTheWhole) {
  std::mt19937 random(3);
  const auto below = [&](int most) {
    return static_cast<int>(random() % static_cast<unsigned>(most));
  };
  for (const PixelSize size : {PixelSize{960, 600}, {701, 500}, {1337, 700}}) {
    picture.resize(size.width, size.height);
    repaint();
    for (int step = 0; step < 60; ++step) {
      for (int event = 0; event <= below(3); ++event) {
        const Point at = {static_cast<float>(below(960)), static_cast<float>(below(600))};
        switch (below(9)) {
          case 0: face.press(at, MouseButton::left, false, step * 0.3); break;
          case 1: face.release(at); break;
          case 2: face.drag(at, false); break;
          case 3: face.wheel(at, 2.0F, false); break;
          case 4: face.key(static_cast<Key>(below(13)), false); break;
          case 5: face.type(U'0' + static_cast<char32_t>(below(20))); break;
          case 6: target.values[kTypeParameter] = selectFromChannel(below(3)); break;
          case 7:
            target.values[1 + below(kNumHostedValues)] = static_cast<float>(below(100)) / 99.0F;
            break;
          default:
            target.heard = {static_cast<float>(below(120)) / 100.0F,
                            static_cast<float>(below(120)) / 100.0F, below(2) == 0};
            target.cabinetName = below(2) == 0 ? std::optional<std::string>("4x12") : std::nullopt;
            break;
        }
      }
      face.update(0.1);
      repaint();
      ASSERT_TRUE(isAsPaintedAnew()) << size.width << ", step " << step;
    }
  }
}

// What hides something else, and what is larger than the control it belongs to.
TEST_F(Painting, NothingStaysBehind) {
  picture.resize(960, 600);
  repaint();
  const auto step = [&] {
    repaint();
    return isAsPaintedAnew();
  };
  for (int i = 0; i < 2; ++i) face.key(Key::tab, false);
  EXPECT_TRUE(step());
  for (const Key key : {Key::enter, Key::escape, Key::enter, Key::down, Key::enter}) {
    face.key(key, false);
    EXPECT_TRUE(step()) << "the list over the focus that opened it";
  }
  for (int index = 0; index < static_cast<int>(controls().size()); ++index) {
    const Control& control = controls()[static_cast<std::size_t>(index)];
    if (control.kind != ControlKind::knob) continue;
    face.wheel(control.center, 1.0F, false);
    EXPECT_TRUE(step()) << "the bubble of " << index;
    face.update(2.0 * Face::kBubbleSeconds);
    EXPECT_TRUE(step()) << "the bubble of " << index << ", gone";
  }
}

TEST_F(Painting, NothingIsPaintedWhileNothingMovesAndLittleWhileOneKnobDoes) {
  picture.resize(1920, 1200);
  EXPECT_EQ(pixelsOf(repaint()), 1920 * 1200);
  for (int i = 0; i < 3; ++i) {
    face.update(0.03);
    EXPECT_EQ(pixelsOf(repaint()), 0);
  }
  const Point at = {250.0F, 144.0F};
  face.press(at, MouseButton::left, false, 1.0);
  face.drag({at.x, at.y - 10.0F}, false);
  repaint();
  face.drag({at.x, at.y - 20.0F}, false);
  const int moved = pixelsOf(repaint());
  EXPECT_GT(moved, 0);
  EXPECT_LT(moved, 1920 * 1200 / 30);
  face.release({at.x, at.y - 20.0F});
  repaint();
  target.heard.outputPeak = 0.3F;
  face.update(0.03);
  const int metered = pixelsOf(repaint());
  EXPECT_GT(metered, 0);
  EXPECT_LT(metered, 1920 * 1200 / 50);
}

TEST_F(Painting, SizesBeyondReasonAreHeld) {
  for (const PixelSize size : {PixelSize{0, 0}, {-5, 100}, {1, 1}, {3, 2000}, {100000, 2}}) {
    picture.resize(size.width, size.height);
    repaint();
    EXPECT_GE(picture.picture().width(), 1);
    EXPECT_LE(picture.picture().width(), FacePicture::kLargestSide);
  }
}

double linear(std::uint8_t part) {
  const double share = part / 255.0;
  return share <= 0.04045 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
}

double luminance(const Color& color) {
  return 0.2126 * linear(color.red) + 0.7152 * linear(color.green) + 0.0722 * linear(color.blue);
}

// As accessibility guidelines reckon it, for every text on what it stands on.
TEST(Theme, EveryTextIsReadable) {
  struct Pair {
    Color text;
    Color behind;
  };
  using namespace theme;
  for (const auto& [text, behind] : {Pair{kText, kLitTop},
                                     {kText, kBackgroundTop},
                                     {kText, kPanelTop},
                                     {kText, kWell},
                                     {kBrightText, kLitTop},
                                     {kBrightText, kUnlitTop},
                                     {kQuietText, kUnlitTop},
                                     {kQuietText, kBackgroundTop},
                                     {kQuietText, kPanelTop},
                                     {kQuietText, kLitBottom},
                                     {kQuietText, kLitTop},
                                     {kText, kMenuBackground},
                                     {kQuietText, kMenuBackground},
                                     {kText, kMenuSelected},
                                     {kQuietText, kMenuSelected},
                                     {kDarkText, kRed},
                                     {kDarkText, kText},
                                     {kWrong, kWell},
                                     {kFocus, kLitTop}}) {
    const double lighter = std::max(luminance(text), luminance(behind));
    const double darker = std::min(luminance(text), luminance(behind));
    EXPECT_GE((lighter + 0.05) / (darker + 0.05), 4.5)
        << int{text.red} << ',' << int{text.green} << ',' << int{text.blue};
  }
}

}  // namespace
}  // namespace quellard
