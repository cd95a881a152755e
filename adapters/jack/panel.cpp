// SPDX-License-Identifier: ISC
#include "adapters/jack/panel.h"

#include <algorithm>
#include <cmath>
#include <ncurses.h>
#include <string>

#include "adapters/shared/value_text.h"
#include "params/factory_bank.h"

namespace quellard {
namespace {

constexpr int kTenthsPerKnob = 100;  // of a scale of 0 to 10
constexpr int kBarWidth = 40;
constexpr int kFrameMs = 50;
constexpr double kLowestDb = -60.0;
constexpr int kRows = 17;
constexpr int kColumns = 79;  // the line of keys

std::string bar(double share, int width) {
  const auto filled = static_cast<std::size_t>(std::lround(std::clamp(share, 0.0, 1.0) * width));
  return std::string(filled, '=') + std::string(static_cast<std::size_t>(width) - filled, '.');
}

}  // namespace

Panel::Panel(AmpClient& client) : client_(client) {
  initscr();
  cbreak();
  noecho();
  keypad(stdscr, true);
  curs_set(0);
  timeout(kFrameMs);
}

Panel::~Panel() { endwin(); }

int Panel::channel() const { return channelFromSelect(client_.amp().value(kTypeParameter)); }

bool Panel::refresh() {
  erase();
  if (LINES < kRows || COLS < kColumns) {
    mvprintw(0, 0, "Needs %d x %d; q quits", kColumns, kRows);
  } else {
    draw();
  }
  ::refresh();
  bool stay = true;
  for (int key = getch(); key != ERR && stay; key = getch()) {
    stay = press(key);
    if (key == KEY_RESIZE) break;
    timeout(0);
  }
  timeout(kFrameMs);
  return stay;
}

void Panel::draw() {
  mvprintw(0, 0, "Quellard  %u Hz, %u frames, %u xruns", client_.rate(), client_.period(),
           client_.xruns());
  drawLevel(2, "in", client_.takeInputPeak());
  drawLevel(3, "out", client_.takeOutputPeak());
  move(5, 0);
  for (int i = 0; i < kNumChannels; ++i) {
    if (i == channel()) attron(A_REVERSE);
    printw(" %d %s ", i + 1, kChannelNames[static_cast<std::size_t>(i)]);
    attroff(A_REVERSE);
    addch(' ');
  }
  for (int knob = 0; knob < kKnobsPerChannel; ++knob) drawKnob(7 + knob, knob);
  drawPreset(14);
  mvaddstr(16, 0, "1 2 3 channel   up down knob   left right 0.1   < > 1.0   p n preset   q quit");
}

void Panel::drawLevel(int row, const char* name, float peak) {
  const double db = std::max(20.0 * std::log10(std::max(static_cast<double>(peak), 1e-9)), -99.9);
  mvprintw(row, 0, "%-4s[%s] %6.1f dBFS%s", name, bar(1.0 - db / kLowestDb, kBarWidth).c_str(), db,
           peak > 1.0F ? "  OVER" : "");
}

void Panel::drawKnob(int row, int knob) {
  const int index = channel() * kKnobsPerChannel + knob + 1;
  const float value = client_.amp().value(index);
  mvprintw(row, 0, "%c %-9s %5s [%s]", knob == knob_ ? '>' : ' ',
           kParameters[static_cast<std::size_t>(index)].name, valueText(index, value).data(),
           bar(static_cast<double>(value), kBarWidth).c_str());
}

void Panel::drawPreset(int row) {
  const int last = client_.lastPreset();
  if (last < 0) return;
  const FactoryPreset& preset = kFactoryBank[static_cast<std::size_t>(last)];
  const bool asStored = client_.amp().values() == presetValues(preset);
  mvprintw(row, 0, "%2d %s%s: %s", last + 1, preset.name, asStored ? "" : " (changed)",
           preset.description);
}

void Panel::stepPreset(int by) {
  constexpr int kCount = kNumFactoryPresets;
  const int last = client_.lastPreset();
  const int next = last < 0 ? (by > 0 ? 0 : kCount - 1) : (last + by + kCount) % kCount;
  client_.loadPreset(next);
}

void Panel::turn(int tenths) {
  HostedAmp& amp = client_.amp();
  const long now = std::lround(amp.value(selectedParameter()) * kTenthsPerKnob);
  amp.setValue(selectedParameter(), knobValue(static_cast<double>(now + tenths) / 10.0));
}

bool Panel::press(int key) {
  switch (key) {
    case '1':
    case '2':
    case '3': client_.amp().setValue(kTypeParameter, selectForChannel(key - '1')); break;
    case KEY_UP: knob_ = std::max(knob_ - 1, 0); break;
    case KEY_DOWN: knob_ = std::min(knob_ + 1, kKnobsPerChannel - 1); break;
    case KEY_LEFT: turn(-1); break;
    case KEY_RIGHT: turn(1); break;
    case '<': turn(-10); break;
    case '>': turn(10); break;
    case 'p': stepPreset(-1); break;
    case 'n': stepPreset(1); break;
    case 'q': return false;
    default: break;
  }
  return true;
}

}  // namespace quellard
