// SPDX-License-Identifier: ISC
// What keys of an X11 keyboard mean, on a small one.
#include "face/x11/keyboard.h"

#include <gtest/gtest.h>

namespace quellard {
namespace {

constexpr std::uint16_t kShift = XCB_MOD_MASK_SHIFT;
constexpr std::uint16_t kNumLock = XCB_MOD_MASK_2;
constexpr std::uint16_t kSecondGroup = 1U << 13;

// From key 10 on: a letter with a Cyrillic second group, a digit, Tab, the keypad's 7 and its
// separator, a key of one symbol, an umlaut by Unicode's number.
const Keyboard& small() {
  static const Keyboard kKeys(10, 4, {'f',    'F',        0x010006D0, 0x010006F0,  //
                                      '5',    '%',        0,          0,           //
                                      0xFF09, 0xFE20,     0,          0,           //
                                      0xFF95, 0xFFB7,     0,          0,           //
                                      0xFF9F, 0xFFAC,     0,          0,           //
                                      ' ',    0,          0,          0,           //
                                      0xFC,   0x010000DC, 0,          0});
  return kKeys;
}

TEST(Keyboard, LettersDigitsAndShift) {
  EXPECT_EQ(small().press(10, 0).character, U'f');
  EXPECT_EQ(small().press(10, kShift).character, U'F');
  EXPECT_EQ(small().press(11, 0).character, U'5');
  EXPECT_EQ(small().press(11, kShift).character, U'%');
  EXPECT_EQ(small().press(15, kShift).character, U' ');
  EXPECT_EQ(small().press(16, 0).character, U'\u00FC');
  EXPECT_EQ(small().press(16, kShift).character, U'\u00DC');
  EXPECT_EQ(small().press(12, 0).key, Key::tab);
  EXPECT_EQ(small().press(12, kShift).key, Key::tab);
}

TEST(Keyboard, TheKeypadFollowsNumLockAndShiftTurnsItAround) {
  EXPECT_EQ(small().press(13, 0).key, Key::home);
  EXPECT_EQ(small().press(13, kNumLock).character, U'7');
  EXPECT_EQ(small().press(13, kShift).character, U'7');
  EXPECT_EQ(small().press(13, kNumLock | kShift).key, Key::home);
  EXPECT_EQ(small().press(14, 0).key, Key::remove);
  EXPECT_EQ(small().press(14, kNumLock).character, U'.');
}

TEST(Keyboard, TheSecondGroupCountsWhereAKeyHasOne) {
  EXPECT_EQ(small().press(10, kSecondGroup).character, char32_t{0x6D0});
  EXPECT_EQ(small().press(11, kSecondGroup).character, U'5');
}

TEST(Keyboard, ShortcutsAndUnknownKeysMeanNothing) {
  for (const unsigned modifier : {XCB_MOD_MASK_CONTROL, XCB_MOD_MASK_1, XCB_MOD_MASK_4}) {
    const KeyPress press = small().press(11, static_cast<std::uint16_t>(modifier));
    EXPECT_EQ(press.character, U'\0');
    EXPECT_FALSE(press.key.has_value());
  }
  for (const int beyond : {0, 9, 17, 255}) {
    EXPECT_EQ(small().press(static_cast<xcb_keycode_t>(beyond), 0).character, U'\0');
    EXPECT_EQ(Keyboard().press(static_cast<xcb_keycode_t>(beyond), kShift).character, U'\0');
  }
}

}  // namespace
}  // namespace quellard
