// SPDX-License-Identifier: ISC
#include "adapters/vst2/editor.h"

#include <algorithm>
#include <limits>

#include "adapters/shared/program_list.h"
#include "adapters/vst2/identity.h"

namespace quellard {
namespace {

std::int16_t shortOf(int pixels) {
  return static_cast<std::int16_t>(std::min(pixels, int{std::numeric_limits<std::int16_t>::max()}));
}

}  // namespace

void Vst2Target::beginMove(int parameter) { tell(audioMasterBeginEdit, parameter, 0.0F); }

void Vst2Target::move(int parameter, float value) {
  amp_.setValue(parameter, value);
  tell(audioMasterAutomate, parameter, value);
}

// The bypass has no number, but the chunk holds it: the host learns that the chunk has changed.
void Vst2Target::endMove(int parameter) {
  if (parameter == kBypassParameter) return updateHost();
  tell(audioMasterEndEdit, parameter, 0.0F);
}

void Vst2Target::tell(std::int32_t opcode, int parameter, float value) {
  const std::optional<std::int32_t> number = vst2NumberOf(parameter);
  if (number.has_value()) host_(&record_, opcode, *number, 0, nullptr, value);
}

// The user's own presets, behind the programs, are none.
void Vst2Target::presetChosen(int preset) {
  if (!isListedProgram(preset)) return;
  program_.store(preset, std::memory_order_relaxed);
  updateHost();
}

// The host reads again what the plug-in shows, and knows that its project has changed.
void Vst2Target::updateHost() { host_(&record_, audioMasterUpdateDisplay, 0, 0, nullptr, 0.0F); }

Vst2Editor::Vst2Editor(HostedAmp& amp, AEffect& record, audioMasterCallback host,
                       std::atomic<std::int32_t>& program, std::atomic<int>& preset,
                       const char* title)
    : amp_(amp),
      record_(record),
      host_(host),
      title_(title),
      target_(amp, record, host, program, preset) {}

std::intptr_t Vst2Editor::answer(std::int32_t opcode, void* ptr) {
  switch (opcode) {
    case effEditGetRect: return tellSize(static_cast<Vst2Rect**>(ptr));
    case effEditOpen: return open(ptr);
    case effEditClose: close(); return 1;
    case effEditIdle: idle(); return 1;
    default: return 0;
  }
}

Editor& Vst2Editor::editor() {
  if (editor_ == nullptr) {
    editor_ = std::make_shared<Editor>(target_);
    editor_->onResize([this](PixelSize size) { return askForSize(size); });
  }
  return *editor_;
}

bool Vst2Editor::tellSize(Vst2Rect** rect) {
  if (rect == nullptr) return false;
  const PixelSize size = asked_.value_or(editor().size());
  rect_ = {.top = 0, .left = 0, .bottom = shortOf(size.height), .right = shortOf(size.width)};
  *rect = &rect_;
  return true;
}

// Only while it is open, the amplifier measures its levels.
bool Vst2Editor::open(void* parent) {
  if (parent == nullptr) return false;
  if (!editor().open(reinterpret_cast<std::uintptr_t>(parent), title_)) {
    close();
    return false;
  }
  amp_.measureLevels(true);
  editor_->show();
  return true;
}

// A hand that still holds a knob lets go of it.
void Vst2Editor::close() {
  if (editor_ != nullptr) editor_->close();
  editor_.reset();
  amp_.measureLevels(false);
}

void Vst2Editor::idle() {
  const std::shared_ptr<Editor> running = editor_;
  if (running != nullptr) running->idle();
}

// Some hosts ask for the size again before they answer.
bool Vst2Editor::askForSize(PixelSize size) {
  asked_ = size;
  const bool agrees =
      host_(&record_, audioMasterSizeWindow, size.width, size.height, nullptr, 0.0F) != 0;
  asked_.reset();
  return agrees;
}

}  // namespace quellard
