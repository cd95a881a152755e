// SPDX-License-Identifier: ISC
// The entry under the two names that VST 2.4 hosts look for. Old hosts ask for `main`, which in C++
// can only be the name of a symbol, not of such a function. QUELLARD_SIDES is 1 in the mono module
// and 2 in the stereo one.
#include "adapters/vst2/vst2_effect.h"

namespace {

constexpr const quellard::Vst2Variant& kVariant =
    QUELLARD_SIDES == 1 ? quellard::kVst2Mono : quellard::kVst2Stereo;

}  // namespace

extern "C" {

__attribute__((visibility("default"))) quellard::AEffect* VSTPluginMain(
    quellard::audioMasterCallback host);
__attribute__((visibility("default"))) quellard::AEffect* oldEntry(
    quellard::audioMasterCallback host) __asm__("main");

quellard::AEffect* VSTPluginMain(quellard::audioMasterCallback host) {
  return quellard::Vst2Effect::create(host, kVariant);
}

quellard::AEffect* oldEntry(quellard::audioMasterCallback host) {
  return quellard::Vst2Effect::create(host, kVariant);
}

}  // extern "C"
