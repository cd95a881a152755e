// SPDX-License-Identifier: ISC
// The effect object: the amplifier behind the operations that a host calls. Those that only ask may
// be called on any thread; setParameter too; processDoubleReplacing on the audio thread;
// setSampleRate while no block is played. Null texts and records are left alone.
#pragma once

#include "engine/amplifier.h"
#include "shell/orv_type.h"

namespace quellard {

class Quellard final : public Orv_TypeBase, public Amplifier {
 public:
  // Sixteen programs, the first one current, no rate yet. May throw std::bad_alloc.
  explicit Quellard(audioMasterCallback host);
  ~Quellard() override;

  void resume() override {}
  // Hz. Builds channels, tapers and switcher; see Amplifier::prepare. May throw std::bad_alloc,
  // which leaves the effect silent until the next call.
  void setSampleRate(float newRate) override;
  // The amplifier has no single-precision path: the outputs stay as they are.
  void processReplacing(float**, float**, std::int32_t) override {}
  // One channel in, one out. Without an input channel the output is silence and nothing moves on;
  // without an output channel nothing happens.
  void processDoubleReplacing(double** inputs, double** outputs,
                              std::int32_t sampleFrames) override;

  // Stores the value, as it is, into the current program and the live field; the next block
  // notices. Other indices than 1..19 store nothing and read as 0.
  void setParameter(std::int32_t index, float value) override;
  float getParameter(std::int32_t index) override;

  // Loads a program into the live values, one parameter at a time: a block that falls in between
  // plays a mixture, the next one the program. Numbers outside 0..15 change nothing.
  void setProgram(std::int32_t program) override;
  void setProgramName(char* name) override;
  void getProgramName(char* name) override;
  bool getProgramNameIndexed(std::int32_t category, std::int32_t index, char* text) override;

  void getParameterLabel(std::int32_t index, char* label) override;
  void getParameterDisplay(std::int32_t index, char* text) override;
  void getParameterName(std::int32_t index, char* text) override;
  bool getParameterProperties(std::int32_t index, VstParameterProperties* properties) override;
  void getParameterDisplayOf(int index, float value, char* text) override;

  bool getEffectName(char* name) override;
  bool getProductString(char* text) override;
  std::int32_t getVendorVersion() override { return 1000; }
  VstPlugCategory getPlugCategory() override { return kPlugCategEffect; }

  int getNumOfInJacks() override { return 1; }
  int getNumOfInSig(int) override { return 1; }
  int getStartNumInSig(int) override { return 0; }
  int getStartNumOutSig(int) override { return 0; }
  int getDryInSigNum() override { return -1; }
  // Not overrides of getNumOfOutJacks() and getNumOfOutSig(): the host knows both pairs.
  virtual int getNumOfOut1Jacks() { return 1; }   // NOLINT(bugprone-virtual-near-miss)
  virtual int getNumOfOut1Sig(int) { return 1; }  // NOLINT(bugprone-virtual-near-miss)

 private:
  QuellardProgram& currentProgram() { return programs.get()[curProgram]; }
};

}  // namespace quellard
