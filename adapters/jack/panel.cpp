// SPDX-License-Identifier: ISC
#include "adapters/jack/panel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <exception>
#include <fmt/format.h>
#include <ncurses.h>
#include <poll.h>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>

#include "params/factory_bank.h"
#include "params/sizes.h"
#include "params/words.h"
#include "rig/tunings.h"
#include "rig/value_text.h"
#include "tools/common/errors.h"
#include "tools/common/parsing.h"
#include "tools/files/user_folders.h"
#include "tools/settings/rig_options.h"

namespace quellard {
namespace {

constexpr int kTenthsPerKnob = 100;  // a knob's range, 0 to 10, in steps of 0.1
constexpr int kBarWidth = 40;
constexpr int kFrameMs = 50;
constexpr int kEscapeMs = 100;  // within this time an arrow key's other bytes follow its Escape
constexpr double kLowestDb = -60.0;
constexpr int kRows = 21;
constexpr int kColumns = 79;
constexpr std::chrono::milliseconds kMidiLight{300};
constexpr std::chrono::milliseconds kNoteShown{1500};

constexpr std::array<std::string_view, 19> kHelp = {
    "1 2 3          the channel: CLEAN, VINTAGE, MODERN",
    "up down        choose a knob",
    "left right     turn it by 0.1",
    "< >            turn it by 1",
    "= or Enter     type a number for it: =7.5 and Enter; Escape leaves it as it was",
    "i g o          type the input trim, the gate (or off), the output level in dB",
    "s l            type the file of a speaker cabinet, or none; its level in dB",
    "p n            the preset before, the next; your own follow the factory's",
    "w              save the settings as a preset of your own",
    "m t            mute the outputs; mute them and tune the guitar; or play again",
    "b              bypass: the dry guitar, or the amplifier again",
    "c              clear CLIP and the held peaks",
    "q              quit; the settings are remembered",
    "CLIP  in: the interface's input was overloaded, turn it down",
    "     out: louder than the interface can play, turn MASTER down",
    "  |   in a level: the held peak, which is also the number behind it",
    "",
    "MIDI  program change: a preset; controller 14: the channel;",
    "      20 to 25: its knobs from PRESENCE to GAIN; 102 to 119: all eighteen",
};
static_assert(kHelp.size() + 2 <= kRows);
static_assert(std::ranges::all_of(kHelp, [](auto line) { return line.size() <= kColumns; }));

double shareOf(double db) { return 1.0 - db / kLowestDb; }

std::size_t barPosition(double share) {
  return asSize(std::lround(std::clamp(share, 0.0, 1.0) * kBarWidth));
}

std::string bar(double share) {
  const std::size_t filled = barPosition(share);
  return std::string(filled, '=') + std::string(kBarWidth - filled, '.');
}

// Writes a row. A text that is longer than the row continues in the next one.
void put(int row, const std::string& text, attr_t attributes = A_NORMAL) {
  move(row, 0);
  clrtoeol();
  attron(attributes);
  addstr(text.c_str());
  attroff(attributes);
}

std::string midiText(std::uint32_t message) {
  const unsigned kind = message >> 20, data1 = message >> 8 & 0x7F, data2 = message & 0x7F;
  const unsigned midiChannel = (message >> 16 & 0xF) + 1;
  switch (kind) {
    case 0xB: return fmt::format("MIDI controller {} at {}, channel {}", data1, data2, midiChannel);
    case 0xC: return fmt::format("MIDI program {}, channel {}", data1 + 1, midiChannel);
    default: return fmt::format("MIDI on channel {}", midiChannel);
  }
}

const char* nameOf(int parameter) {
  const RigParameterInfo* const rig = rigParameterInfo(parameter);
  return rig != nullptr ? rig->title : parameterInfo(parameter).name;
}

// What of a long text is next to the cursor.
std::string tailOf(const std::string& text) {
  constexpr std::size_t kShown = 30;
  return text.size() <= kShown ? text : "..." + text.substr(text.size() - kShown);
}

// How a guitar's peak compares with what the presets expect.
std::string inputAdvice(double peak_dbfs) {
  const double offset = offsetFromPresetInput_db(peak_dbfs);
  if (offset == 0.0) return "right";
  if (peak_dbfs <= kLowestDb) return "";
  return fmt::format("{:.1f} dB {}", std::abs(offset), offset < 0.0 ? "low" : "high");
}

bool terminalIsClosed() {
  pollfd terminal = {STDIN_FILENO, POLLIN, 0};
  return poll(&terminal, 1, 0) > 0 && (terminal.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

}  // namespace

std::unique_ptr<Panel> Panel::open(AmpClient& client, const TuningSettings& tuning) {
  screen* const terminal = newterm(nullptr, stdout, stdin);
  if (terminal == nullptr) return nullptr;
  char cursorAddress[] = "cup";
  std::unique_ptr<Panel> panel(new Panel(client, tuning, terminal));
  if (tigetstr(cursorAddress) == nullptr) return nullptr;
  return panel;
}

Panel::Panel(AmpClient& client, const TuningSettings& tuning, screen* terminal)
    : client_(client), tuning_(tuning), terminal_(terminal) {
  cbreak();
  noecho();
  keypad(stdscr, true);
  set_escdelay(kEscapeMs);
  curs_set(0);
  timeout(kFrameMs);
}

Panel::~Panel() {
  endwin();
  delscreen(terminal_);
}

int Panel::channel() const { return channelFromSelect(client_.amp().value(kTypeParameter)); }

Panel::Next Panel::refresh() {
  readLevels();
  erase();
  if (LINES < kRows || COLS < kColumns) {
    put(0, fmt::format("{} x {}; the panel needs {} x {}. Keys work, q quits", COLS, LINES,
                       kColumns, kRows));
  } else if (mode_ == Mode::help) {
    drawHelp();
  } else {
    draw();
  }
  ::refresh();
  int key = getch();
  if (key == ERR && terminalIsClosed()) return Next::terminalIsClosed;
  timeout(0);
  for (; key != ERR && !leaves_; key = getch()) {
    press(key);
    if (key == KEY_RESIZE) break;
  }
  timeout(kFrameMs);
  return leaves_ ? Next::leave : Next::stay;
}

void Panel::readLevels() {
  const Clock::time_point now = Clock::now();
  const double seconds = std::chrono::duration<double>(now - drawnAt_).count();
  drawnAt_ = now;
  in_.update(client_.takeInputPeak(), seconds);
  out_.update(client_.takeOutputPeak(), seconds);
  const unsigned midi = client_.midiCount();
  if (midi != midiSeen_) midiAt_ = now;
  midiSeen_ = midi;
}

void Panel::draw() {
  drawHeader();
  const double trim_db = levelFromValue_db(client_.amp().value(kInputParameter));
  drawLevel(2, "in", in_, trim_db, inputAdvice(in_.held_db() + trim_db));
  drawLevel(3, "out", out_, 0.0, "");
  put(4, rigLine());
  move(5, 0);
  for (int i = 0; i < kNumChannels; ++i) {
    if (i == channel()) attron(A_REVERSE);
    printw(" %d %s ", i + 1, channelName(i));
    attroff(A_REVERSE);
    addch(' ');
  }
  for (int knob = 0; knob < kKnobsPerChannel; ++knob) drawKnob(7 + knob, knob);
  if (client_.isTuning()) {
    put(14, tunerLine(), A_BOLD);
    put(15, stringLine());
  } else {
    put(14, presetLine());
  }
  put(16, prompt(), A_BOLD);
  put(18, "1 2 3 channel   up down knob   left right < > turn   = number   p n preset");
  put(19, "w save   m mute   t tune   b bypass   i g o levels   s l cabinet  ? keys   q quit");
}

void Panel::drawHelp() {
  int row = 0;
  for (const std::string_view line : kHelp) put(row++, std::string(line));
  put(row + 1, "Any key goes back");
}

void Panel::drawHeader() {
  put(0, fmt::format("Quellard  {} Hz, {} frames, {} xruns  ", client_.rate(), client_.period(),
                     client_.xruns()));
  const auto mark = [](bool shown, const char* text) {
    if (!shown) return;
    attron(A_REVERSE);
    printw(" %s ", text);
    attroff(A_REVERSE);
    addch(' ');
  };
  mark(client_.muted(), "MUTED");
  mark(client_.isTuning(), "TUNER, MUTED");
  mark(client_.amp().bypassed(), "BYPASSED");
  if (midiSeen_ == 0) return;
  const bool lit = Clock::now() - midiAt_ < kMidiLight;
  mvaddstr(1, 0, lit ? "* " : "  ");
  addstr(midiText(client_.lastMidi()).c_str());
}

// gain_db: between what is metered and what is shown. CLIP is about what is metered.
void Panel::drawLevel(int row, const char* name, const LevelMeter& meter, double gain_db,
                      const std::string& advice) {
  std::string shown = bar(shareOf(meter.level_db() + gain_db));
  const double held_db = meter.held_db() + gain_db;
  const std::size_t held = barPosition(shareOf(held_db));
  if (held > 0) shown[held - 1] = '|';
  put(row, fmt::format("{:<4}[{}] {:6.1f} dBFS {:<12}", name, shown, held_db, advice));
  if (!meter.clipped()) return;
  attron(A_REVERSE | A_BOLD);
  addstr(" CLIP ");
  attroff(A_REVERSE | A_BOLD);
}

void Panel::drawKnob(int row, int knob) {
  const int index = knobIndex(channel(), knob);
  const float value = client_.amp().value(index);
  put(row, fmt::format("{} {:<9} {:>5} [{}]", knob == knob_ ? '>' : ' ', parameterInfo(index).name,
                       valueText(index, value).data(), bar(static_cast<double>(value))));
}

std::string Panel::rigLine() const {
  const auto text = [this](int parameter) {
    return valueText(parameter, client_.amp().value(parameter));
  };
  const bool gates = gateFromValue_dbfs(client_.amp().value(kGateParameter)).has_value();
  const char* const state = client_.amp().gateIsOpen() ? ", open" : ", closed";
  return fmt::format("input {}   gate {}{}   output {}   {}", text(kInputParameter).data(),
                     text(kGateParameter).data(), gates ? state : "", text(kOutputParameter).data(),
                     cabinetText());
}

// The beginning of its name, as long as the line has room.
std::string Panel::cabinetText() const {
  const CabinetChoice& cabinet = client_.cabinet();
  if (cabinet.file.empty()) return "";
  if (!client_.cabinetFault().empty()) return "cabinet missing";
  const std::string name = oneLine(cabinet.file.stem().string());
  const double level = cabinet.level_db;
  return level == 0.0 ? fmt::format("cabinet {:.14}", name)
                      : fmt::format("cabinet {:.8} {:+.1f} dB", name, level);
}

// A note is shown a while longer than it is heard, so that it can be read.
std::string Panel::tunerLine() {
  const PitchReading reading = client_.tuner().read();
  const Clock::time_point now = Clock::now();
  if (reading.frequency_hz > 0.0) {
    heard_hz_ = reading.frequency_hz;
    heardAt_ = now;
  }
  if (heard_hz_ == 0.0 || now - heardAt_ > kNoteShown) return "Play a string. t plays on";
  const Note note = nearestNote(heard_hz_, tuning_.reference_hz);
  std::string scale = "-50 ..................|.................. +50";
  constexpr long kZero = 22;
  const long offset = std::lround(note.cents / 50.0 * 18.0);
  at(scale, kZero + offset) = '#';
  return fmt::format("{:<4} {:+6.1f} cents {:8.2f} Hz   {}", noteName(note.number), note.cents,
                     heard_hz_, scale);
}

// The open string that is nearest to what is heard; "" without a tuning or a note.
std::string Panel::stringLine() const {
  if (tuning_.tuning == nullptr || heard_hz_ == 0.0) return "";
  const NearestString nearest = nearestString(*tuning_.tuning, heard_hz_, tuning_.reference_hz);
  return fmt::format("{}: string {}, {} {:+.1f} cents", tuning_.tuning->name, nearest.number,
                     noteName(nearest.note), nearest.cents);
}

std::string Panel::presetLine() const {
  const Preset* const preset = client_.lastPreset();
  if (preset == nullptr) return "";
  const bool isUnchanged = client_.amp().values() == preset->values;
  return fmt::format("{:2} {}{}{}{}", preset - client_.presets().data() + 1, preset->name,
                     isUnchanged ? "" : " (changed)", preset->description.empty() ? "" : ": ",
                     preset->description);
}

std::string Panel::prompt() const {
  switch (mode_) {
    case Mode::number:
      return fmt::format("{} = {}_   Enter sets it, Escape cancels", nameOf(typedParameter_),
                         entry_.text());
    case Mode::cabinet:
      return fmt::format("Cabinet: {}_   Enter, Escape; none removes it", tailOf(entry_.text()));
    case Mode::cabinetLevel:
      return fmt::format("Cabinet level = {}_ dB   Enter sets it, Escape cancels", entry_.text());
    case Mode::name:
      return fmt::format("Save as: {}_   Enter saves, Escape cancels", entry_.text());
    case Mode::replace: return fmt::format("Replace '{}'? y or n", entry_.text());
    default: return message_;
  }
}

void Panel::stepPreset(int by) {
  const auto count = static_cast<std::ptrdiff_t>(client_.presets().size());
  const Preset* const last = client_.lastPreset();
  const std::ptrdiff_t at = last != nullptr ? last - client_.presets().data() : (by > 0 ? -1 : 0);
  client_.loadPreset(asSize((at + by + count) % count));
}

void Panel::turn(int tenths) {
  HostedAmp& amp = client_.amp();
  const long now = std::lround(amp.value(selectedParameter()) * kTenthsPerKnob);
  amp.setValue(selectedParameter(), knobFromPosition(static_cast<double>(now + tenths) / 10.0));
}

void Panel::beginNumber(int parameter) {
  typedParameter_ = parameter;
  begin(Mode::number);
}

void Panel::begin(Mode mode) {
  entry_ = {};
  mode_ = mode;
}

void Panel::setTyped(const std::string& text) {
  const char* const name = nameOf(typedParameter_);
  client_.amp().setValue(typedParameter_,
                         isKnob(typedParameter_)
                             ? knobFromPosition(numberWithin(name, text, 0.0, kKnobScale))
                             : parseRigValue(typedParameter_, name, text));
}

void Panel::chooseCabinet(const std::string& file) {
  CabinetChoice choice{cabinetNamed(trimmed(file)), client_.cabinet().level_db};
  if (file.starts_with("~/")) choice.file = homeFolder() / file.substr(2);
  if (!choice.file.empty()) choice.file = absolute(choice.file);
  client_.setCabinet(std::move(choice));
}

void Panel::setCabinetLevel(const std::string& text) {
  if (client_.cabinet().file.empty()) return say("There is no cabinet yet: s");
  client_.setCabinet({client_.cabinet().file, parseCabinetLevel_db("cabinet level", text)});
}

void Panel::nameIsTyped() {
  const std::string fault = faultOfPresetName(entry_.text());
  if (!fault.empty()) return say(fault);
  if (isUserPreset(entry_.text())) {
    mode_ = Mode::replace;
  } else {
    save();
  }
}

void Panel::save() {
  const std::string name = entry_.text();
  try {
    savePreset(name, client_.amp().values());
    client_.setPresets(listPresetFiles().presets, findPreset(name).name);
    saved_.push_back(name);
    say(fmt::format("Saved: quellard-jack {}", presetOption(name)));
  } catch (const std::exception& error) {
    say(error.what());
  }
}

void Panel::press(int key) {
  if (key == KEY_RESIZE) return;
  message_.clear();
  switch (mode_) {
    case Mode::play: return pressPlaying(key);
    case Mode::number:
    case Mode::cabinet:
    case Mode::cabinetLevel:
    case Mode::name: return pressTyping(key);
    case Mode::replace: return pressReplacing(key);
    case Mode::help: mode_ = Mode::play; return;
  }
}

void Panel::pressReplacing(int key) {
  mode_ = Mode::play;
  if (key == 'y') {
    save();
  } else {
    say("Not saved");
  }
}

void Panel::pressTyping(int key) {
  const LineEntry::State state = entry_.press(key);
  if (state == LineEntry::State::typing) return;
  const Mode typed = std::exchange(mode_, Mode::play);
  if (state == LineEntry::State::cancelled || entry_.text().empty()) return;
  entered(typed);
}

void Panel::entered(Mode typed) try {
  switch (typed) {
    case Mode::number: return setTyped(entry_.text());
    case Mode::cabinet: return chooseCabinet(entry_.text());
    case Mode::cabinetLevel: return setCabinetLevel(entry_.text());
    default: return nameIsTyped();
  }
} catch (const std::exception& error) {
  say(error.what());
}

void Panel::pressPlaying(int key) {
  switch (key) {
    case '1':
    case '2':
    case '3': client_.amp().setValue(kTypeParameter, selectFromChannel(key - '1')); break;
    case KEY_UP: knob_ = std::max(knob_ - 1, 0); break;
    case KEY_DOWN: knob_ = std::min(knob_ + 1, kKnobsPerChannel - 1); break;
    case KEY_LEFT: turn(-1); break;
    case KEY_RIGHT: turn(1); break;
    case '<': turn(-10); break;
    case '>': turn(10); break;
    case '=':
    case '\n':
    case '\r':
    case KEY_ENTER: beginNumber(selectedParameter()); break;
    case 'i': beginNumber(kInputParameter); break;
    case 'g': beginNumber(kGateParameter); break;
    case 'o': beginNumber(kOutputParameter); break;
    case 's': begin(Mode::cabinet); break;
    case 'l': begin(Mode::cabinetLevel); break;
    case 'p': stepPreset(-1); break;
    case 'n': stepPreset(1); break;
    case 'w': begin(Mode::name); break;
    case 'm': client_.setMuted(!client_.muted()); break;
    case 't': client_.setTuning(!client_.isTuning()); break;
    case 'b': client_.amp().setBypass(!client_.amp().bypassed()); break;
    case 'c':
      in_.clear();
      out_.clear();
      break;
    case '?': mode_ = Mode::help; break;
    case 'q': leaves_ = true; break;
    default: say("? explains the keys; a number begins with = or Enter"); break;
  }
}

}  // namespace quellard
