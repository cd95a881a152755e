// SPDX-License-Identifier: ISC
// Every opcode and callback of the built module.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "tests/shell/host_view.h"
#include "tests/shell/module.h"

namespace quellard::test {
namespace {

constexpr auto kIntMax = std::numeric_limits<std::int32_t>::max();
constexpr auto kIntMin = std::numeric_limits<std::int32_t>::min();

// The host's memory, filled with a pattern that shows which bytes were written.
struct Canvas {
  Canvas() { bytes.fill('\xA5'); }
  bool clean(std::size_t from = 0) const {
    return std::all_of(bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.end(),
                       [](char byte) { return byte == '\xA5'; });
  }
  std::array<char, 320> bytes;
};

class HostCalls : public testing::Test {
 protected:
  // The text that an opcode writes. Expects no byte to be written beyond `size`.
  std::string text(std::int32_t opcode, std::int32_t index, std::size_t size,
                   std::intptr_t answer = 0) {
    Canvas canvas;
    EXPECT_EQ(effect.dispatch(opcode, index, kIntMax, canvas.bytes.data()), answer);
    EXPECT_TRUE(canvas.clean(size)) << "opcode " << opcode << " wrote beyond " << size;
    return canvas.clean() ? "untouched" : canvas.bytes.data();
  }

  // All that a host can see of the effect's state.
  std::string state() {
    const AEffect& record = effect.record();
    std::string all(reinterpret_cast<const char*>(&record), sizeof record);
    for (int i = -1; i <= 20; ++i) all += std::to_string(effect.getParameter(i)) + ' ';
    all += std::to_string(effect.dispatch(effGetProgram));
    for (int i = 0; i < 16; ++i) all += text(effGetProgramNameIndexed, i, 24, 1);
    return all + std::to_string(effect.object().blockSize);
  }

  OpenedEffect effect{moduleEntry("getinterface")};
};

TEST_F(HostCalls, ConstantAnswers) {
  const std::array<std::intptr_t, 4> rows[] = {
      // opcode, index, value, answer
      {effIdentify, 0, 0, 0x4E764566},      {effCanBeAutomated, 3, 0, 1},
      {effCanBeAutomated, -7, 0, 1},        {effGetPlugCategory, 0, 0, 1},
      {effGetVendorVersion, 0, 0, 1000},    {effGetVstVersion, 0, 0, 2400},
      {effGetCurrentMidiProgram, 0, 0, -1}, {effSetTotalSampleToProcess, 0, -3, -3}};
  for (const auto& [opcode, index, value, answer] : rows)
    EXPECT_EQ(
        effect.dispatch(static_cast<std::int32_t>(opcode), static_cast<std::int32_t>(index), value),
        answer)
        << opcode;
  int speakers = 0;
  void *first = &speakers, *second = &speakers;
  effect.dispatch(effGetSpeakerArrangement, 0, reinterpret_cast<std::intptr_t>(&first), &second);
  EXPECT_EQ(first, nullptr);
  EXPECT_EQ(second, nullptr);
}

TEST_F(HostCalls, OtherOpcodesAnswerZeroAndChangeNothing) {
  const std::set<std::int32_t> served = {1,  2,  3,  4,  5,  6,  7,  8,  10, 11, 22,
                                         26, 29, 35, 45, 48, 49, 56, 58, 63, 69, 73};
  std::vector<std::int32_t> opcodes = {kIntMin, kIntMax, -1, 1000, 65536, 0x7EADBEEF};
  for (int i = 0; i < 200; ++i) {
    if (served.count(i) == 0) opcodes.push_back(i);
  }
  effect.dispatch(effSetProgram, 0, 5);
  const std::string before = state();
  for (const std::int32_t opcode : opcodes) {
    for (const std::int32_t index : {0, 3, -1}) {
      Canvas canvas;
      EXPECT_EQ(effect.dispatch(opcode, index, 7, canvas.bytes.data(), 0.5f), 0) << opcode;
      EXPECT_TRUE(canvas.clean()) << opcode;
    }
  }
  EXPECT_EQ(state(), before);
}

TEST_F(HostCalls, NamesAndValuesAreWritten) {
  for (const auto& [opcode, length] :
       {std::pair{effGetEffectName, 32}, {effGetProductString, 64}}) {
    Canvas canvas, expected;
    std::strncpy(expected.bytes.data(), "NEW Quellard", static_cast<std::size_t>(length + 1));
    EXPECT_EQ(effect.dispatch(opcode, 0, 0, canvas.bytes.data()), 1);
    EXPECT_EQ(canvas.bytes, expected.bytes) << "a terminator at " << length;
  }
  EXPECT_EQ(text(effGetVendorString, 0, 0, 0), "untouched");
  const char* const knobs[] = {"PRESENCE", "BASS", "MID", "TREBLE", "MASTER", "GAIN"};
  for (int i = 1; i <= 19; ++i) {
    EXPECT_EQ(text(effGetParamName, i, 9), i == 19 ? "type" : knobs[(i - 1) % 6]);
    EXPECT_EQ(text(effGetParamLabel, i, 1), "");
    EXPECT_EQ(text(effGetParamDisplay, i, 9), i == 19 ? "MODERN" : " 5.00");
  }
  effect.setParameter(7, 0.123f);
  effect.setParameter(19, 0.33f);
  EXPECT_EQ(text(effGetParamDisplay, 7, 9), " 1.23");
  EXPECT_EQ(text(effGetParamDisplay, 19, 9), "VINTAGE");
  for (const int i : {0, -1, 20, kIntMax, kIntMin}) {
    for (const int opcode : {effGetParamName, effGetParamLabel, effGetParamDisplay})
      EXPECT_EQ(text(opcode, i, 0), "untouched") << opcode << ' ' << i;
  }
}

// The fields have their published offsets. The operation that this amplifier's own host calls fills
// a record that is two bytes longer.
TEST_F(HostCalls, PropertiesFillTheirRecordOnly) {
  for (int index = -1; index <= 20; ++index) {
    Canvas canvas, longer;
    const bool known = index >= 1 && index <= 19;
    EXPECT_EQ(effect.dispatch(effGetParameterProperties, index, 0, canvas.bytes.data()), known);
    EXPECT_EQ(host::call<bool>(effect.record(), host::Slot::getParameterProperties, index,
                               longer.bytes.data()),
              known);
    Canvas expected;
    const auto put = [&](std::size_t offset, auto value) {
      std::memcpy(expected.bytes.data() + offset, &value, sizeof value);
    };
    if (index >= 0 && index < 20) put(0, std::array<char, 152>{});
    if (index == 19) {
      put(76, 2);  // flags: integer range, 0 to 2 in steps of 1
      put(84, 2);
      put(88, 1);
    } else if (known) {
      put(0, 0.01f);
      put(76, 4);  // flags: float step
    }
    EXPECT_EQ(canvas.bytes, expected.bytes) << index;
    if (index >= 0 && index < 20) put(152, std::array<char, 2>{known ? '\1' : '\0', '\0'});
    EXPECT_EQ(longer.bytes, expected.bytes) << index;
  }
}

// Values are stored as they are, also invalid ones.
TEST_F(HostCalls, EveryProgramKeepsItsOwnValues) {
  const float odd[] = {std::nanf(""), -3.0f, 1e30f, 1e-42f, HUGE_VALF, -0.0f, 2.0f};
  const auto value = [&](int program, int index) {
    return index < 8 ? odd[(program + index) % 7] : static_cast<float>(program * 20 + index) / 512;
  };
  for (int program = 15; program >= 0; --program) {
    EXPECT_EQ(effect.dispatch(effSetProgram, 0, program), 0);
    EXPECT_EQ(effect.dispatch(effGetProgram), program);
    for (int index = 1; index <= 19; ++index) {
      EXPECT_EQ(effect.getParameter(index), index == 19 ? 1.0f : 0.5f) << "the default";
      effect.setParameter(index, value(program, index));
    }
  }
  for (const int program : {7, 0, 15, 7}) {
    effect.dispatch(effSetProgram, 0, program);
    for (int index = 1; index <= 19; ++index) {
      const float stored = effect.getParameter(index), wanted = value(program, index);
      EXPECT_EQ(std::memcmp(&stored, &wanted, sizeof stored), 0) << program << ' ' << index;
    }
  }
  const std::string before = state();
  const std::intptr_t wide = sizeof(std::intptr_t) > 4 ? std::intptr_t{kIntMax} * 2 + 2 + 3 : 16;
  for (const std::intptr_t none :
       {std::intptr_t{16}, std::intptr_t{-1}, std::intptr_t{kIntMax}, std::intptr_t{kIntMin}, wide})
    effect.dispatch(effSetProgram, 0, none);
  for (const int index : {0, -1, 20, kIntMax, kIntMin}) {
    effect.setParameter(index, 0.9f);
    EXPECT_EQ(effect.getParameter(index), 0.0f) << index;
  }
  EXPECT_EQ(state(), before);
}

TEST_F(HostCalls, ProgramsAreNamed) {
  for (const int program : {0, 15, 2}) {
    effect.dispatch(effSetProgram, 0, program);
    EXPECT_EQ(text(effGetProgramName, 0, 24), "Init " + std::to_string(program + 1));
    EXPECT_EQ(text(effGetProgramNameIndexed, program, 24, 1), "Init");
  }
  for (std::string name : {"A rather long name for such a little field", "", "Lead"}) {
    EXPECT_EQ(effect.dispatch(effSetProgramName, 0, 0, name.data()), 0);
    EXPECT_EQ(text(effGetProgramName, 0, 24), name.substr(0, 23));
  }
  EXPECT_EQ(text(effGetProgramNameIndexed, 2, 24, 1), "Lead");
  EXPECT_EQ(text(effGetProgramNameIndexed, 1, 24, 1), "Init");
  for (const int none : {16, -1, kIntMax, kIntMin})
    EXPECT_EQ(text(effGetProgramNameIndexed, none, 0, 0), "untouched") << none;
}

// Only the double-precision callback plays; only the first channel of each side is touched.
TEST_F(HostCalls, ProcessCallbacksTouchOneChannel) {
  effect.setSampleRate(44100.0f);
  std::vector<float> single(4, 0.5f);
  float* singles[] = {single.data(), single.data()};
  effect.record().processReplacing(&effect.record(), singles, singles, 4);
  effect.record().process(&effect.record(), singles, singles, 4);
  EXPECT_EQ(single, std::vector<float>(4, 0.5f));

  std::vector<double> in(32, 0.5), other(32, 7.0), first(32, 9.0), second(32, 9.0);
  double *inputs[] = {in.data(), other.data()}, *outputs[] = {first.data(), second.data()};
  effect.record().processDoubleReplacing(&effect.record(), inputs, outputs, 31);
  EXPECT_EQ(second, std::vector<double>(32, 9.0));
  EXPECT_EQ(in, std::vector<double>(32, 0.5));
  EXPECT_EQ(first[31], 9.0);
  EXPECT_EQ(std::count(first.begin(), first.end(), 9.0), 1);
}

}  // namespace
}  // namespace quellard::test
