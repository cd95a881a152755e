// SPDX-License-Identifier: ISC
#include "tools/measure/plot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fmt/format.h>
#include <vector>

#include "params/decibels.h"
#include "params/parameter_values.h"
#include "params/sizes.h"
#include "params/words.h"
#include "tools/common/errors.h"
#include "tools/common/parsing.h"
#include "tools/files/output_file.h"
#include "tools/measure/gnuplot.h"
#include "tools/measure/measure.h"

namespace quellard {
namespace {

constexpr int kWidth = 1800;  // of a page, in pixels; heights follow from its rows
constexpr int kTitleHeight = 96;
constexpr int kHeadingHeight = 70;
constexpr int kAxisHeight = 58;     // below every row
constexpr int kLeft = 84;           // of the first panel
constexpr int kRight = 160;         // beside the last panel: the legend
constexpr int kGap = 62;            // between panels
constexpr double kNotePeak = 0.25;  // -12 dBFS

// Each channel has its colour in all pictures, in shades from pale (knob at 0) to dark (at 10).
struct Shades {
  std::array<int, 3> pale;
  std::array<int, 3> full;
  std::array<int, 3> dark;
};
constexpr std::array<Shades, kNumChannels> kShades = {{
    {{0xa8, 0xd0, 0xf0}, {0x1f, 0x77, 0xc8}, {0x0a, 0x2a, 0x56}},  // CLEAN: blue
    {{0xf8, 0xd4, 0x8a}, {0xe0, 0x80, 0x00}, {0x66, 0x33, 0x00}},  // VINTAGE: amber
    {{0xf6, 0xb4, 0xb4}, {0xd0, 0x20, 0x30}, {0x56, 0x06, 0x14}},  // MODERN: red
}};

constexpr std::array<double, 5> kKnobPositions = {0.0, 2.5, 5.0, 7.5, 10.0};

std::string shade(int channel, double part) {
  const Shades& shades = at(kShades, channel);
  const bool upper = part > 0.5;
  const auto& from = upper ? shades.full : shades.pale;
  const auto& to = upper ? shades.dark : shades.full;
  const double mix = upper ? part * 2.0 - 1.0 : part * 2.0;
  std::string color = "#";
  for (std::size_t i = 0; i < 3; ++i) {
    color += fmt::format("{:02x}", std::lround(from[i] + mix * (to[i] - from[i])));
  }
  return color;
}

struct Line {
  Curve curve;
  std::string color;
  double width;
  std::string name;  // in the legend; none when empty
  std::string style = "lines";
};

// The gnuplot script of one page, built from the top downwards: title, headings, rows of panels.
class Page {
 public:
  Page(bool svg, int height) : height_(height) {
    script_ = fmt::format(
        "set terminal {} size {},{} font 'DejaVu Sans,{}' background rgb 'white'\n"
        "set multiplot\n"
        "set border 3 lc rgb '#606060'\nset tics nomirror out scale 0.5 textcolor rgb '#404040'\n"
        "set grid lc rgb '#e2e2e2' lw 1 lt 1\nunset key\n",
        svg ? "svg dynamic" : "pngcairo", kWidth, height, svg ? 14 : 11);
  }

  void title(const std::string& text, const std::string& detail) {
    putText(text, kLeft, 38, "font ',20'");
    putText(detail, kLeft, 68, "textcolor rgb '#606060'");
    top_ = kTitleHeight;
  }

  void heading(const std::string& text) {
    putText(text, kLeft, top_ + 26, "font ',14' textcolor rgb '#202020'");
    top_ += kHeadingHeight;
  }

  // Begins a row of equal panels. height: in pixels, without the axis.
  void row(int panels, int height) {
    panels_ = panels;
    panelHeight_ = height;
    next_ = 0;
  }
  void endRow() { top_ += panelHeight_ + kAxisHeight; }

  // axes: gnuplot commands for this panel.
  void panel(const std::string& name, const std::string& color, const std::string& axes,
             const std::vector<Line>& lines) {
    const int width = (kWidth - kLeft - kRight - (panels_ - 1) * kGap) / panels_;
    const int left = kLeft + next_++ * (width + kGap);
    std::string data;
    std::string plots;
    for (const Line& line : lines) {
      const std::string block = fmt::format("$d{}", blocks_++);
      data += block + " << EOD\n";
      for (const Point& point : line.curve)
        data += fmt::format("{:.6g} {:.6g}\n", point.x, point.y);
      data += "EOD\n";
      plots += fmt::format("{}{} using 1:2 with {} lw {} lc rgb '{}' {}", plots.empty() ? "" : ", ",
                           block, line.style, line.width, line.color,
                           line.name.empty() ? "notitle" : "title '" + line.name + "'");
    }
    script_ += data;
    script_ += fmt::format(
        "set lmargin at screen {:.5f}\nset rmargin at screen {:.5f}\n"
        "set tmargin at screen {:.5f}\nset bmargin at screen {:.5f}\n",
        x(left), x(left + width), y(top_), y(top_ + panelHeight_));
    script_ += fmt::format(
        "set label '{}' at graph 0, graph 1 offset 0,0.8 font ',12' "
        "textcolor rgb '{}'\n",
        name, color);
    script_ += fmt::format(
        "set key at screen {:.5f},{:.5f} left top Left reverse samplen 1.6 "
        "spacing 1.15\n",
        x(kWidth - kRight + 22), y(top_));
    script_ += axes + "plot " + plots + "\nunset label\nunset arrow\nunset key\n";
  }

  std::string finish() const { return script_ + "unset multiplot\n"; }

 private:
  static double x(double pixels) { return pixels / kWidth; }
  double y(double pixels) const { return 1.0 - pixels / height_; }

  // The text is drawn with the next panel, since gnuplot draws labels only with a plot.
  void putText(const std::string& text, int left, int down, const char* look) {
    script_ +=
        fmt::format("set label '{}' at screen {:.5f},{:.5f} {}\n", text, x(left), y(down), look);
  }

  std::string script_;
  int height_;
  int top_ = 0;
  int panels_ = 1;
  int panelHeight_ = 0;
  int next_ = 0;
  int blocks_ = 0;
};

const ParameterInfo& knobOf(int channel, int knob) {
  return parameterInfo(knobIndex(channel, knob));
}

StartingPoint on(int channel, StartingPoint start) {
  start.changes.push_back({kTypeParameter, selectFromChannel(channel)});
  return start;
}

StartingPoint with(StartingPoint start, const ParameterInfo& knob, double position) {
  start.changes.push_back({knob.index, knobFromPosition(position)});
  return start;
}

constexpr const char* kFrequencyAxis =
    "set logscale x\nset xrange [20:20000]\n"
    "set xtics ('20' 20, '50' 50, '100' 100, '200' 200, '500' 500, '1k' 1000, '2k' 2000, "
    "'5k' 5000, '10k' 10000, '20k' 20000)\n";

constexpr int kToneRow = 250;
constexpr int kTransferRow = 380;
constexpr int kSpectrumRow = 340;

double highest(const Curve& curve) {
  double top = curve.front().y;
  for (const Point& point : curve) top = std::max(top, point.y);
  return top;
}

// All tone panels have the same scale, so that knobs and channels can be compared: 0 dB is the
// maximum of the channel's response in `start`.
void drawTone(Page& page, const PluginModule& module, const PlotSettings& settings) {
  page.heading(
      "Tone knobs: gain of small signals in dB over frequency in Hz, one knob turned from 0 "
      "to 10 and the others left");
  for (int channel = 0; channel < kNumChannels; ++channel) {
    page.row(4, kToneRow);
    const StartingPoint start = on(channel, settings.start);
    const double reference = highest(measureResponse(module, start, settings.rate));
    for (int knob : {2, 3, 4, 1}) {  // BASS, MID, TREBLE, PRESENCE: from low to high
      const ParameterInfo& info = knobOf(channel, knob);
      std::vector<Line> lines;
      for (double position : kKnobPositions) {
        Curve curve = measureResponse(module, with(start, info, position), settings.rate);
        for (Point& point : curve) point.y -= reference;
        lines.push_back({std::move(curve), shade(channel, position / kKnobScale), 2.0,
                         fmt::format("knob at {:g}", position)});
        if (knob != 1) lines.back().name.clear();
      }
      page.panel(fmt::format("{} {}", channelName(channel), info.name), shade(channel, 0.7),
                 std::string(kFrequencyAxis) + "set yrange [-36:12]\nset ytics 12\n", lines);
    }
    page.endRow();
  }
}

// The level axis for both signs has -80 dBFS in the middle and full scale at both ends.
constexpr double kFloor_db = -80.0;

double signedLevel(double level) {
  const double decibels = decibelsFromGain(std::abs(level));
  return std::copysign(std::max(0.0, decibels - kFloor_db), level);
}

void drawTransfer(Page& page, const PluginModule& module, const PlotSettings& settings) {
  page.heading(
      "Transfer curves: highest and lowest output (full scale is 1) over the peak level of "
      "a 220 Hz sine in dBFS");
  page.row(kNumChannels, kTransferRow);
  for (int channel = 0; channel < kNumChannels; ++channel) {
    std::vector<Line> lines;
    for (double position : {1.0, 2.5, 5.0, 7.5, 10.0}) {
      const StartingPoint start =
          with(on(channel, settings.start), knobOf(channel, kGainKnob), position);
      Curve curve = measureTransfer(module, start, settings.rate);
      for (Point& point : curve) point.x = signedLevel(point.x);
      lines.push_back({std::move(curve), shade(channel, position / kKnobScale), 2.0,
                       channel == kNumChannels - 1 ? fmt::format("GAIN {:g}", position) : ""});
    }
    page.panel(channelName(channel), shade(channel, 0.7),
               "unset logscale\nset xrange [-80:80]\nset yrange [*:*]\nset ytics autofreq\n"
               "set xtics ('0' -80, '-20' -60, '-40' -40, '-60' -20, '-80' 0, '-60' 20, "
               "'-40' 40, '-20' 60, '0' 80)\n",
               lines);
  }
  page.endRow();
}

// The highest bin near each harmonic up to top_hz.
Curve harmonicsOf(const Curve& spectrum, double note_hz, double top_hz) {
  Curve harmonics;
  for (const Point& point : spectrum) {
    const double number = std::round(point.x / note_hz);
    if (number < 1.0 || number * note_hz > top_hz) continue;
    if (std::abs(point.x - number * note_hz) > 0.1 * note_hz) continue;
    const std::size_t index = static_cast<std::size_t>(number) - 1;
    if (index >= harmonics.size()) harmonics.resize(index + 1, {number * note_hz, -300.0});
    if (point.y > harmonics[index].y) harmonics[index] = {number * note_hz, point.y};
  }
  return harmonics;
}

constexpr double kBottom_db = -120.0;

void drawSpectrum(Page& page, const PluginModule& module, const PlotSettings& settings) {
  page.heading(
      fmt::format("Harmonics: a {:g} Hz sine of -12 dBFS peak, level in dBFS over frequency "
                  "in Hz",
                  settings.note_hz));
  page.row(kNumChannels, kSpectrumRow);
  for (int channel = 0; channel < kNumChannels; ++channel) {
    const Curve spectrum = measureSpectrum(module, on(channel, settings.start), settings.rate,
                                           settings.note_hz, kNotePeak);
    const Curve harmonics = harmonicsOf(spectrum, settings.note_hz, 20000.0);
    const bool last = channel == kNumChannels - 1;
    std::string axes =
        std::string(kFrequencyAxis) + fmt::format("set yrange [{}:20]\nset ytics 20\n", kBottom_db);
    for (std::size_t i = 0; i < std::min<std::size_t>(8, harmonics.size()); ++i) {
      if (harmonics[i].y < kBottom_db) continue;
      axes += fmt::format("set label '{}' at {},{} center offset 0,0.8 front font ',9'\n", i + 1,
                          harmonics[i].x, harmonics[i].y);
    }
    page.panel(
        channelName(channel), shade(channel, 0.7), axes,
        {{spectrum, shade(channel, 0.25), 1.0, last ? "spectrum" : "", "lines"},
         {harmonics, shade(channel, 0.7), 1.0, last ? "harmonic" : "", "points pt 7 ps 0.7"}});
  }
  page.endRow();
}

int sectionHeight(int rows, int rowHeight) {
  return kHeadingHeight + rows * (rowHeight + kAxisHeight);
}

}  // namespace

PlotPage parsePlotPage(const std::string& text) {
  const std::vector<std::string> names = {"all", "tone", "transfer", "spectrum"};
  const auto found = std::find(names.begin(), names.end(), lowered(text));
  if (found != names.end()) return static_cast<PlotPage>(found - names.begin());
  throw UsageError(fmt::format("unknown page '{}'{}", text, suggestion(lowered(text), names)));
}

void plotAmplifier(const PluginModule& module, const std::filesystem::path& picture,
                   const PlotSettings& settings) {
  const std::string ending = lowered(picture.extension().string());
  if (ending != ".png" && ending != ".svg") {
    throw UsageError(fmt::format("'{}' ends neither in .png nor in .svg", picture.string()));
  }
  OutputFile output(picture);
  const bool all = settings.page == PlotPage::all;
  const bool tone = all || settings.page == PlotPage::tone;
  const bool transfer = all || settings.page == PlotPage::transfer;
  const bool spectrum = all || settings.page == PlotPage::spectrum;
  const int height = kTitleHeight + (tone ? sectionHeight(kNumChannels, kToneRow) : 0) +
                     (transfer ? sectionHeight(1, kTransferRow) : 0) +
                     (spectrum ? sectionHeight(1, kSpectrumRow) : 0);
  Page page(ending == ".svg", height);
  page.title("Quellard", fmt::format("measured at {} Hz; a knob that its picture does not turn "
                                     "stands at 5 unless it was set otherwise",
                                     settings.rate));
  if (tone) drawTone(page, module, settings);
  if (transfer) drawTransfer(page, module, settings);
  if (spectrum) drawSpectrum(page, module, settings);
  runGnuplot(page.finish(), output);
  output.commit();
}

}  // namespace quellard
