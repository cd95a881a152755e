// SPDX-License-Identifier: ISC
// What the framework wants to know about the plug-in while it is compiled. QUELLARD_SIDES is 1 for
// the mono module and 2 for the stereo one.
#pragma once

#define DISTRHO_PLUGIN_NUM_INPUTS QUELLARD_SIDES
#define DISTRHO_PLUGIN_NUM_OUTPUTS QUELLARD_SIDES
#if QUELLARD_SIDES == 1
#define DISTRHO_PLUGIN_NAME "Quellard"
#define DISTRHO_PLUGIN_URI "urn:quellard:amplifier"
#define DISTRHO_PLUGIN_VST3_CATEGORIES "Fx|Distortion|Mono"
#else
#define DISTRHO_PLUGIN_NAME "Quellard Stereo"
#define DISTRHO_PLUGIN_URI "urn:quellard:amplifier-stereo"
#define DISTRHO_PLUGIN_VST3_CATEGORIES "Fx|Distortion|Stereo"
#endif
#define DISTRHO_PLUGIN_HAS_UI 0
#define DISTRHO_PLUGIN_IS_RT_SAFE 1
#define DISTRHO_PLUGIN_WANT_PROGRAMS 1
