// SPDX-License-Identifier: ISC
#include "adapters/jack/jack_face.h"

#include <poll.h>

#include "params/sizes.h"
#include "tools/face/face_presets.h"

namespace quellard {
std::unique_ptr<JackFace> JackFace::open(AmpClient& client) {
  std::unique_ptr<JackFace> face(new JackFace(client));
  if (!face->editor_.open(0, client.name())) return nullptr;
  face->editor_.show();
  return face;
}

JackFace::JackFace(AmpClient& client) : client_(client), editor_(*this) {
  showPreset();
  editor_.onClose([this] { isClosed_ = true; });
}

void JackFace::showPreset() {
  shown_ = client_.lastPreset();
  const int place =
      shown_ != nullptr ? static_cast<int>(shown_ - client_.presets().data()) + 1 : -1;
  editor_.setPresets(facePresetsOf(client_.presets()), place);
}

// A MIDI message may have chosen another preset, and another have changed it since.
bool JackFace::refresh() {
  if (client_.lastPreset() != shown_) showPreset();
  pollfd window = {editor_.fileDescriptor(), POLLIN, 0};
  poll(&window, 1, Editor::kPeriod_ms);
  return editor_.idle() && !isClosed_;
}

FaceLevels JackFace::levels() {
  return {client_.takeInputPeak(), client_.takeOutputPeak(), client_.amp().gateIsOpen()};
}

std::optional<std::string> JackFace::cabinet() const {
  const CabinetChoice& choice = client_.cabinet();
  if (choice.file.empty()) return "none";
  return client_.cabinetFault().empty() ? choice.file.stem().string() : "missing";
}

void JackFace::presetChosen(int preset) {
  if (preset == 0) return client_.forgetPreset();
  client_.loadPreset(asSize(preset - 1));
}

}  // namespace quellard
