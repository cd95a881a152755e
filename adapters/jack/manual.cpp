// SPDX-License-Identifier: ISC
#include "adapters/jack/manual.h"

namespace quellard {

ManualTexts jackManual() {
  return {
      .version = QUELLARD_VERSION,
      .date = QUELLARD_DATE,
      .description =
          {"A valve amplifier to plug a guitar into, with the channels CLEAN, VINTAGE and MODERN, "
           "as a client of JACK or of PipeWire. It connects itself to the first input and the "
           "first two outputs of the interface.",
           "On a display it shows its face in a window: levels, channels, knobs and presets, for "
           "mouse and keys. With --terminal, or where there is no display, it shows a panel in the "
           "terminal, operated by keys; '?' explains them. Elsewhere it plays until it gets "
           "SIGTERM or the server ends. MIDI moves knobs and chooses presets."},
      .files = {{"~/.local/state/quellard/jack/",
                 "The settings that it ended with, a file for each client name. Where "
                 "XDG_STATE_HOME is set, it takes the place of ~/.local/state."},
                kUserPresetsFolder},
      .examples = {{"quellard-jack", "Goes on where it ended."},
                   {"quellard-jack --preset \"Blues Lead\" --treble 6", "A preset as a start."},
                   {"quellard-jack --cab 4x12.wav --gate -60",
                    "With an impulse response as its loudspeaker and a noise gate."},
                   {"quellard-jack --name second --stereo --no-connect",
                    "Another one, for a stereo source, to be connected by hand."}},
      .seeAlso = {"quellard(1)", "jackd(1)"},
  };
}

}  // namespace quellard
