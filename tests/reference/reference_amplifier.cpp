#include "tests/reference/reference_amplifier.h"

#include <algorithm>
#include <cmath>

namespace quellard::reference {

namespace {

// Two units in the last place above pi. For a section tuned to half the sample rate this decides on
// which side of pi / 2 the tangent is taken.
constexpr double kPi = 3.141592653589794;
constexpr double kSqrt2 = 1.4142135623730951;

double amplitude(double gain) { return std::pow(10.0, gain / 20.0); }

Coefficients peaking(double g, double k, double q) {
  const double kk = k * k;
  const double d = 1 + k / q + kk;
  const double v = amplitude(g > 0 ? g : -g);
  // clang-format off
  if (g > 0)
    return {-2 * (kk - 1) / d, -(1 + kk - k / q) / d,
            (1 + v * k / q + kk) / d, 2 * (kk - 1) / d, (1 + kk - v * k / q) / d};
  const double e = 1 / (1 + kk + v * k / q);
  return {-2 * (kk - 1) * e, -(1 + kk - v * k / q) * e,
          d * e, 2 * (kk - 1) * e, (1 + kk - k / q) * e};
  // clang-format on
}

// The pole puts the gain at f to -3 dB, with half power rounded to ten digits.
Coefficients onePoleLowPass(double f, double fs) {
  const double c = std::cos(2.0 * kPi * f / fs);
  const double r = 0.5011872337;
  const double root = std::sqrt(r * (c - 1) * (r * c + r - 2));
  const double pole = ((r * c - 1) + root) / -0.49881276630000004;
  return {1 - pole, 0.0, pole, 0.0, 0.0};
}

}  // namespace

Coefficients design(Record& record) {
  if (!(record.q > 0)) record.q = 1.0;
  if (!(record.frq > 0)) record.frq = 20.0;
  if (0.5 * record.fs < record.frq) record.frq = 0.5 * record.fs;

  const double q = record.q, gain = record.gain;
  const double k = std::tan(kPi * record.frq / record.fs), kk = k * k;
  const double k2 = std::tan(kPi * record.frqLow / record.fs);
  const double k3 = std::tan(kPi * record.frqHigh / record.fs);

  const double n = 1 / (1 + k), p = (1 - k) * n;  // first order
  const double dN = 1 + kSqrt2 * k + kk;          // no q: Butterworth
  const double pN = -(1 - kSqrt2 * k + kk) / dN;
  const double dQ = 1 + kk + kSqrt2 * k / q;  // the same at q = 1
  const double pQ = -(1 + kk - kSqrt2 * k / q) / dQ;
  const double dW = 1 + kk + k / q, w = (k / q) / dW;  // width set by q
  const double dE = 1 - k2 + k3 + k2 * k3;             // width set by the two edges
  const double pE = -(1 + k2 - k3 + k2 * k3) / dE;

  const auto num = static_cast<std::int16_t>(record.num);
  const double v = num == 11 ? amplitude(gain) : num == 12 ? 1.0 / amplitude(-gain) : 1.0;
  // clang-format off
  switch (num) {
    case 0: return {p, 0.0, k * n, k * n, 0.0};                                      // low-pass
    case 1: return {p, 0.0, n, -n, 0.0};                                             // high-pass
    case 2: return {-2 * (kk - 1) / dN, pN, kk / dN, 2 * kk / dN, kk / dN};          // low-pass
    case 3: return {-2 * (kk - 1) / dN, pN, 1 / dN, -2 / dN, 1 / dN};                // high-pass
    case 4: return {-2 * (k2 * k3 - 1) / dE, pE,                                     // band-pass
                    (k3 - k2) / dE, 0.0, -(k3 - k2) / dE};
    case 5: return {-2 * (k2 * k3 - 1) / dE, pE,                                     // band-stop
                    (1 + k2 * k3) / dE, 2 * (k2 * k3 - 1) / dE, (1 + k2 * k3) / dE};
    case 6: return {2 * (1 - kk) / dQ, pQ, kk / dQ, 2 * kk / dQ, kk / dQ};           // low-pass
    case 7: return {-2 * (kk - 1) / dQ, pQ, 1 / dQ, -2 / dQ, 1 / dQ};                // high-pass
    case 8: return {-2 * (kk - 1) / dW, -(1 + kk - k / q) / dW, w, 0.0, -w};         // band-pass
    case 9: return {-2 * (kk - 1) / dW, w - (1 + kk) / dW,                           // notch
                    (1 + kk) / dW, 2 * (kk - 1) / dW, (1 + kk) / dW};
    case 10: return peaking(gain, k, q);
    case 11: return {p, 0.0, (1 + v * k) * n, (v * k - 1) * n, 0.0};                 // low shelf
    case 12: return {p, 0.0, (k + v) * n, (k - v) * n, 0.0};                         // high shelf
    default: return onePoleLowPass(record.frq, record.fs);
  }
  // clang-format on
}

void Section::redesign(Record record) {
  coef = design(record);
  const auto type = static_cast<std::int16_t>(record.num);
  if (type != num) clear();
  num = type;
}

// Starts from the last design's target, also where a glide has not reached it yet.
void Section::glideTo(Record record, int samples) {
  base = coef;
  redesign(record);
  length = samples;
  count = 0.0;
  const double perSample = 1.0 / length;
  for (std::size_t i = 0; i < 5; ++i) {
    step[i] = samples >= 1 ? (coef[i] - base[i]) * perSample : 0.0;
    if (samples < 1) base[i] = coef[i];
  }
}

double Section::filter(const Coefficients& k, double x) {
  if (num < 0 || num > 12) return state1 = k[2] * state1 + k[0] * x;
  const double y = k[2] * x + state1;
  state1 = (k[3] * x + state2) + k[0] * y;
  state2 = k[4] * x + k[1] * y;
  return y;
}

double Section::glide(double x) {
  const double t = count;
  Coefficients k;
  for (std::size_t i = 0; i < 5; ++i) k[i] = step[i] * t + base[i];
  const double y = filter(k, x);
  if (t == length) {
    base = coef;
    step.fill(0.0);
  }
  if (t <= length) count = t + 1.0;
  return y;
}

namespace {

// Any x; NaN gives NaN.
double lookup(const Table& table, double x) {
  const double c = x > 1.0 ? 1.0 : (x < -1.0 ? -1.0 : x);
  const double pos = 20000.0 + c * 20000.0;
  // NaN cannot become an integer. Its fraction stays NaN, so that the result is NaN.
  const int i = std::isnan(pos) ? 0 : static_cast<int>(pos);
  const double* entry = table.data() + i;
  return (entry[1] - entry[0]) * (pos - i) + entry[0];
}

// up or down · tanh(-slope / 2 · index). The drive curves take the minus sign of their negative
// half into the numerator, the others multiply the finished quotient by it: they round differently.
Table makeTable(double up, double upSlope, double down, double downSlope, double guard,
                bool isDrive = false) {
  Table table(40002);
  double* centre = table.data() + 20000;
  for (int i = 0; i <= 20000; ++i) {
    const double e = std::exp(upSlope * i), f = std::exp(downSlope * i);
    centre[i] = up * (1 - e) / (e + 1);
    centre[-i] = isDrive ? -down * (1 - f) / (f + 1) : (1 - f) / (f + 1) * -down;
  }
  const double e = std::exp(guard);
  centre[20001] = up * (1 - e) / (e + 1);
  return table;
}

Table makeDrive(double up, double a, double b) {
  return makeTable(up, 0 - (a + a) / 20000.0, 1.0, 0 - (b + b) / 20000.0, -2.0 * a, true);
}

Tables makeTables(double factor) {
  return {{makeDrive(0.98, 83.9795918367347 * factor, 82.3 * factor),
           makeDrive(0.45, 28.8888888888889 * factor, 13.0 * factor),
           makeDrive(0.45, 43.7555555555556 * factor, 19.69 * factor)},
          {makeTable(1.0, -0.0035, 0.057, -0.06140350877192979, -70.0),
           makeTable(1.0, -0.00802125844320371, 0.9, -0.008912509381337455, -160.42516886407418),
           makeTable(1.0, -0.0015, 0.9, -0.0015, -30.0)}};
}

struct Voicing {
  double masterScale;
  std::vector<Record> pre, post, power, revise;
};

// clang-format off
const Voicing& voicingOf(Model model) {
  static const std::array<Voicing, 3> all{{
      {.masterScale = 7.07945784, .pre = {{11, 13000, 1, 0}},
       .post = {{0, 5000, 1, 0}}, .power = {{1, 18, 1, 0}, {0, 10000, 1, 0}},
       .revise = {{10, 160, 0.8, 2}, {10, 1000, 0.8, -12}, {12, 10000, 1, 2}, {10, 6000, 1.2, 3}}},
      {.masterScale = 0.56234133, .pre = {{11, 13000, 1, 0}},
       .post = {{0, 2300, 1, 0}}, .power = {{1, 200, 1, 0}, {0, 2000, 1, 0}},
       .revise = {{10, 170, 0.55, 6}, {12, 8000, 1, 6}, {10, 10000, 0.5, 2}, {10, 6000, 1.2, 4}}},
      {.masterScale = 0.5, .pre = {{11, 13000, 1, 0}, {10, 2300, 0.5, 6}},
       .post = {{0, 2300, 1, 0}}, .power = {{1, 18, 1, 0}, {0, 10000, 1, 0}},
       .revise = {{10, 280, 0.55, 9}, {10, 6000, 1.2, 10}}},
  }};
  return all[static_cast<std::size_t>(model)];
}

std::vector<Record> toneStack(Model model) {
  std::vector<Record> rows = {{11, 200, 1, 0}, {10, 570, 0.7, 0}, {12, 1300, 1, 0},
                              {12, 4000, 1, 0}, {1, 200, 1, 0}, {10, 120, 0.8, 0}};
  if (model != Model::clean) rows.push_back({10, 8000, 0.8, 0});
  return rows;
}

Resampler resamplerFor(Model model, bool at48k) {
  const auto set = [](const std::array<double, 5>& a, double b0, double b1, double b2) {
    return Resampler{a, {b0, b1, b2, b2, b1, b0}};
  };
  if (at48k && model == Model::clean)
    return set({4.8179683353, -9.3055224949, 9.0057178461, -4.3669422202, 0.84877273473},
               3.390157707e-06, -3.4808989017e-06, 2.9901828846e-06);
  if (at48k)
    return set({4.8332211387, -9.3614466813, 9.0826314317, -4.4139531656, 0.85954336641},
               2.9240486315e-06, -3.6467230335e-06, 2.6776616271e-06);
  if (model == Model::modern)
    return set({4.841845695, -9.3932327092, 9.1265709496, -4.4409465392, 0.86575952956},
               2.6825145427e-06, -3.682642479e-06, 2.5372545281e-06);
  return set({4.8274344838, -9.3401866833, 9.0533334899, -4.3960100272, 0.85542417619},
             3.0948410549e-06, -3.5998686196e-06, 2.785376319e-06);
}
// clang-format on

Bank buildBank(const std::vector<Record>& rows, double fs) {
  Bank bank;
  for (Record row : rows) {
    row.fs = fs;
    bank.emplace_back(row);
  }
  return bank;
}

double runAll(Bank& bank, double x) {
  for (Section& section : bank) x = section.run(x);
  return x;
}

}  // namespace

const Tables& tablesFor(int factor) {
  if (factor == 7) {
    static const Tables seven = makeTables(7.0);
    return seven;
  }
  static const Tables eight = makeTables(8.0);
  return eight;
}

Channel::Channel(Model which, double sampleRate)
    : model(which),
      rate(sampleRate),
      factor(std::trunc(rate) == 48000.0 ? 7 : 8),
      eq(buildBank(toneStack(model), rate)),
      dcBlocker({1, 20.0, 1.0, 0.0, rate}),
      resampler(resamplerFor(model, factor == 7)),
      splitCoef(factor == 7 ? 0.7095 : 0.722),
      tables(&tablesFor(factor)) {
  const Voicing& voicing = voicingOf(model);
  // Outside the clean channel these two banks sit between the shapers, at the oversampled rate.
  const double innerRate = model == Model::clean ? rate : rate * factor;
  pre = buildBank(voicing.pre, rate);
  post = buildBank(voicing.post, innerRate);
  power = buildBank(voicing.power, innerRate);
  revise = buildBank(voicing.revise, rate);
  masterScale = voicing.masterScale;
}

void Channel::setEQ(double t, double m, double b, double p, int n) {
  eq[0].glideTo({11, 200.0, 1.0, ((24.286 * b - 49.186) * b + 31.501) * b - 2.9695, rate}, n);
  eq[4].glideTo({1, ((-311.9 * b + 644.19) * b - 425.28) * b + 99.728, 1.0, 0.0, rate}, n);
  const double swing = model == Model::clean ? 10.0 * b - 5.0 : 12.0 * b - 6.0;
  eq[5].glideTo({10, 120.0, 0.8, swing, rate}, n);
  const double frq = (((-3238.1 * t + 6572.8) * t - 4314.7) * t + 1559.0325000000003) +
                     (((119.05 * m - 103.06) * m - 215.99) * m);
  const double q = (((1.4286 * t - 2.5828) * t + 1.9542) * t + 0.8860249999999998) +
                   (((-1.8057 * m + 3.838) * m - 2.9175) * m);
  const double gain = (((-21.429 * t + 44.841) * t - 30.413) * t - 0.0184 + 6.693275 - 11.79) +
                      (((2.381 * m - 10.141) * m + 15.26) * m);
  eq[1].glideTo({10, frq, q, gain, rate}, n);
  const double shelf = (((5.9524 * t - 18.203) * t + 24.751) * t - 8.4928 - 0.076 - 2.0046) +
                       (((-1.1905 * m - 0.0396) * m + 4.2301) * m);
  eq[2].glideTo({12, ((2952.4 * t - 5792.3) * t + 3459.9) * t + 583.26, 1.0, shelf, rate}, n);
  eq[3].glideTo({12, 4000.0, 1.0, 8.0 * p - 8.0, rate}, n);
}

void Channel::setGain(double g, int n) {
  gainTarget = model == Model::modern ? 0.501187233 * g : g;
  const double frq = ((620.21 * g - 1096.7) * g + 849.19) * g + 525.68;
  const double gain = ((37.923 * g - 86.963) * g + 75.853) * g - 36.685;
  pre[0].glideTo({11, frq, 1.0, gain, rate}, n);
}

void Channel::setMaster(double master, int /*n*/) {
  masterTarget = master * 0.8912509381337455 * masterScale;
}

void Channel::signalProcess(const double* in, double* out, int n) {
  const double inc = n > 1 ? 1.0 / (n - 1) : 0.0;
  const double gainStep = (gainTarget - gainCurrent) * inc;
  const double masterStep = (masterTarget - masterCurrent) * inc;
  double t = 0.0;
  for (int k = 0; k < n; ++k, t += 1.0) {
    const double drive = t * gainStep + gainCurrent;
    const double level = t * masterStep + masterCurrent;
    double x = std::isfinite(in[k]) ? in[k] : 0.0;
    x = pre[0].glide(x);
    if (model == Model::clean) x = runAll(power, runAll(post, x));
    if (model == Model::modern) x = pre[1].run(x);
    x = oversampled(drive * x);
    for (Section& section : eq) x = section.glide(x);
    x = runAll(revise, x);
    x = dcBlocker.run(x);
    out[k] = level * x;
  }
  gainCurrent = gainTarget;
  masterCurrent = masterTarget;
}

// Of the factor's outputs only the first is kept; the others act through the state.
double Channel::oversampled(double v) {
  const double kept = resampler.lowpass(downState, nonlinear(resampler.lowpass(upState, v)));
  for (int j = 1; j < factor; ++j)
    resampler.lowpass(downState, nonlinear(resampler.lowpassOfZero(upState)));
  return kept;
}

double Channel::nonlinear(double y) {
  const double shaped = lookup(tables->drive[static_cast<std::size_t>(model)], y);
  if (model == Model::clean) return shaped;
  const double first = lookup(tables->cascade[0], runAll(post, shaped));
  const double p = lookup(tables->cascade[1], runAll(power, first));
  const double low = (splitLow - p) * splitCoef + p;
  const double high = (splitHigh + p) * splitCoef + p;
  const double q = lookup(tables->cascade[2], high - splitHigh);
  const double w = ((splitLow + low) * 0.7 + q) * 0.66;
  splitLow = low;
  splitHigh = high;
  return w;
}

double Resampler::lowpass(std::array<double, 6>& s, double u) const {
  const double y = b[0] * u + s[0];
  for (std::size_t i = 0; i < 5; ++i) s[i] = a[i] * y + s[i + 1] + b[i + 1] * u;
  return y;
}

// Without the input terms, which is not the same as u = 0: adding a zero loses a zero's sign.
double Resampler::lowpassOfZero(std::array<double, 6>& s) const {
  const double y = s[0];
  for (std::size_t i = 0; i < 5; ++i) s[i] = a[i] * y + s[i + 1];
  return y;
}

void Channel::clear() {
  for (Bank* bank : {&pre, &post, &eq, &power, &revise})
    for (Section& section : *bank) section.clear();
  dcBlocker.clear();
  upState.fill(0.0);
  downState.fill(0.0);
  splitLow = splitHigh = 0.0;
}

// The upper limit keeps absurd rates from allocating gigabytes.
Switcher::Switcher(double rate, float select)
    : fadeLength(static_cast<int>(std::clamp(std::floor(0.016 * rate), 1.0, double{1 << 20}))),
      lastSelect(select) {}

void Switcher::fillGain(float v, int n, double* gain) {
  const bool same = v == lastSelect || (std::isnan(v) && std::isnan(lastSelect));
  // A change that arrives behind the silent sample, where the incoming channel was chosen, is left
  // unrecorded, so that it starts a switch of its own.
  const bool record = state != State::fadingIn || fadePos == 0;
  if (!same && state == State::idle) state = State::fadingOut;
  const double r = 1.0 / fadeLength;
  for (int i = 0; i < n; ++i) {
    gain[i] = 1.0;
    if (state == State::idle) continue;
    const bool out = state == State::fadingOut;
    gain[i] = out ? (fadeLength - fadePos) * r : r * fadePos;
    if (++fadePos < fadeLength) continue;
    state = out ? State::fadingIn : State::idle;
    fadePos = 0;
  }
  if (record) lastSelect = v;
}

namespace {

std::size_t channelFromSelect(float v) { return v < 0.33F ? 0 : (v < 0.66F ? 1 : 2); }

// Flush-to-zero: decaying filters would otherwise reach denormals, which slow the processor down.
#if defined(__SSE__)
constexpr unsigned kFlushToZero = 0x8000;
unsigned mode() { return __builtin_ia32_stmxcsr(); }
void setMode(unsigned mode) { __builtin_ia32_ldmxcsr(mode); }
#elif defined(__aarch64__)
constexpr std::uint64_t kFlushToZero = std::uint64_t{1} << 24;
std::uint64_t mode() {
  std::uint64_t mode = 0;
  asm volatile("mrs %0, fpcr" : "=r"(mode));
  return mode;
}
void setMode(std::uint64_t mode) { asm volatile("msr fpcr, %0" : : "r"(mode)); }
#else
constexpr int kFlushToZero = 0;
int mode() { return 0; }
void setMode(int) {}
#endif

// Limits a control value to what the tapers accept. NaN compares false and becomes 0.
double tapered(float exponent, float control) {
  const float limited = control > 0.0F ? std::min(control, 1.0F) : 0.0F;
  const double raised = std::pow(static_cast<double>(limited), static_cast<double>(exponent));
  return static_cast<double>(static_cast<float>(raised));
}

}  // namespace

Amplifier::Amplifier() {
  for (Values& program : programs_) {
    program.fill(0.5F);
    program[19] = 1.0F;
  }
}

void Amplifier::setSampleRate(float rate) {
  if (!std::isfinite(rate) || rate <= 0.0F || rate == appliedRate_) return;
  appliedRate_ = rate;
  const auto r = static_cast<double>(rate);
  channels_.clear();
  for (const Model model : {Model::clean, Model::vintage, Model::modern})
    channels_.emplace_back(model, r);
  applied_.fill(-1.0F);
  switcher_.emplace(r, values()[19]);
  active_ = channelFromSelect(values()[19]);
}

void Amplifier::setParameter(int index, float value) {
  if (index >= 1 && index <= 19) values()[static_cast<std::size_t>(index)] = value;
}

void Amplifier::setProgram(int program) {
  if (program >= 0 && program <= 15) program_ = static_cast<std::size_t>(program);
}

void Amplifier::process(const double* in, double* out, int frames) {
  const int n = std::max(frames, 0);
  if (channels_.empty()) {
    std::fill_n(out, n, 0.0);
    return;
  }
  const auto hosts = mode();
  setMode(hosts | kFlushToZero);
  block(in, out, n);
  setMode(hosts);
}

// Not inlined: no arithmetic may move out of the flush-to-zero mode set around it.
[[gnu::noinline]] void Amplifier::block(const double* in, double* out, int n) {
  const float select = values()[19];
  if (typePending_) {
    switcher_->lastSelect = select;
    active_ = channelFromSelect(select);
    typePending_ = false;
  }
  pushControls(n);

  fade_.resize(static_cast<std::size_t>(n));
  mono_.resize(static_cast<std::size_t>(n));
  double* fade = fade_.data();
  double* mono = mono_.data();
  switcher_->fillGain(select, n, fade);

  Channel& outgoing = channels_[active_];
  int split = n;
  for (int i = 0; i < n; ++i) {
    if (fade[i] > 0.0) continue;
    split = i;
    active_ = channelFromSelect(select);
  }
  Channel& incoming = channels_[active_];
  outgoing.signalProcess(in, mono, split);
  incoming.signalProcess(in + split, mono + split, n - split);

  bool poisoned = false;  // a channel's output was not finite, so its memory is cleared
  const auto silencePoison = [&](Channel& ran, const double* from, const double* to) {
    if (std::all_of(from, to, [](double x) { return std::isfinite(x); })) return;
    ran.clear();
    poisoned = true;
  };
  silencePoison(outgoing, mono, mono + split);
  silencePoison(incoming, mono + split, mono + n);
  for (int i = 0; i < n; ++i) out[i] = poisoned ? 0.0 : fade[i] * mono[i];
  applied_ = values();
}

void Amplifier::pushControls(int n) {
  for (std::size_t c = 0; c < 3; ++c) {
    const auto value = [&](std::size_t knob) { return values()[6 * c + knob]; };
    const auto moved = [&](std::size_t knob) { return value(knob) != applied_[6 * c + knob]; };
    enum : std::size_t { presence = 1, bass, mid, treble, master, gain };
    if (moved(bass) || moved(mid) || moved(treble) || moved(presence))
      channels_[c].setEQ(tapered(1.0F, value(treble)), tapered(1.0F, value(mid)),
                         tapered(0.5F, value(bass)), tapered(1.0F, value(presence)), n);
    if (moved(gain)) channels_[c].setGain(tapered(3.0F, value(gain)), n);
    if (moved(master)) channels_[c].setMaster(tapered(2.0F, value(master)), n);
  }
}

}  // namespace quellard::reference
