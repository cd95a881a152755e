#include "tests/plain/plain_amplifier.h"

#include <algorithm>
#include <climits>
#include <cmath>

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace quellard::plain {

namespace {

// Two steps of a double above pi. It decides on which side of the right angle a section tuned to
// half the sample rate falls, hence the literal.
constexpr double kPi = 3.141592653589794;
constexpr double kSqrt2 = 1.4142135623730951;

double amplitude(double gain) { return std::pow(10.0, gain / 20.0); }

Coefficients peaking(double g, double k, double q) {
  const double kk = k * k;
  const double d = 1 + k / q + kk;
  // clang-format off
  if (g > 0) {
    const double v = amplitude(g);
    return {-2 * (kk - 1) / d, -(1 + kk - k / q) / d,
            (1 + v * k / q + kk) / d, 2 * (kk - 1) / d, (1 + kk - v * k / q) / d};
  }
  const double v = amplitude(-g);
  const double e = 1 / (1 + kk + v * k / q);
  return {-2 * (kk - 1) * e, -(1 + kk - v * k / q) * e,
          d * e, 2 * (kk - 1) * e, (1 + kk - k / q) * e};
  // clang-format on
}

// The pole puts the gain at f to -3 dN, with half power rounded to ten digits.
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

  const double q = record.q;
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

  // clang-format off
  switch (static_cast<std::int16_t>(record.num)) {
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
    case 10: return peaking(record.gain, k, q);
    case 11: {                                                                       // low shelf
      const double v = amplitude(record.gain);
      return {p, 0.0, (1 + v * k) * n, (v * k - 1) * n, 0.0};
    }
    case 12: {                                                                       // high shelf
      const double v = 1.0 / amplitude(-record.gain);
      return {p, 0.0, (k + v) * n, (k - v) * n, 0.0};
    }
    default: return onePoleLowPass(record.frq, record.fs);
  }
  // clang-format on
}

// The glide's fields stay zero: a new section that is glided starts with one silent sample.
Section::Section(Record record) { redesign(record); }

void Section::redesign(Record& record) {
  coef = design(record);
  num = static_cast<std::int16_t>(record.num);
  if (num != prevNum) clear();
  prevNum = num;
}

// From the last design's target, wherever a glide under way has got to.
void Section::glideTo(Record& record, int samples) {
  base = coef;
  redesign(record);
  length = samples;
  const double perSample = 1.0 / length;
  for (std::size_t i = 0; i < 5; ++i) {
    step[i] = samples >= 1 ? (coef[i] - base[i]) * perSample : 0.0;
    if (samples < 1) base[i] = coef[i];
  }
  count = 0.0;
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

double Table::lookup(double x) const {
  const double c = x > 1.0 ? 1.0 : (x < -1.0 ? -1.0 : x);
  const double pos = halfSize + c * halfSize;
  // NaN has no integer. Its fraction stays NaN, so the caller still sees that the signal broke.
  const int i = std::isnan(pos) ? 0 : static_cast<int>(pos);
  const double* entry = entries.data() + i;
  return (entry[1] - entry[0]) * (pos - i) + entry[0];
}

namespace {

// The drive curves take the minus sign of their negative half into the numerator, the others
// multiply the finished quotient by it: the two orders round differently.
Table makeTable(Half positive, Half negative, double guard, bool isDrive) {
  Table table;
  table.entries.resize(40002);
  double* centre = table.entries.data() + 20000;
  const auto upper = [&](double e) { return positive.amplitude * (1 - e) / (e + 1); };
  const auto lower = [&](double e) {
    return isDrive ? -negative.amplitude * (1 - e) / (e + 1)
                   : (1 - e) / (e + 1) * -negative.amplitude;
  };
  for (int i = 0; i <= 20000; ++i) {
    centre[i] = upper(std::exp(positive.slope * i));
    centre[-i] = lower(std::exp(negative.slope * i));
  }
  centre[20001] = upper(std::exp(guard));
  return table;
}

Table makeDrive(double amplitude, double a, double b) {
  return makeTable({amplitude, 0 - (a + a) / 20000.0}, {1.0, 0 - (b + b) / 20000.0}, -2.0 * a,
                   true);
}

}  // namespace

Tables::Tables(double factor)
    : drive{makeDrive(0.98, 83.9795918367347 * factor, 82.3 * factor),
            makeDrive(0.45, 28.8888888888889 * factor, 13.0 * factor),
            makeDrive(0.45, 43.7555555555556 * factor, 19.69 * factor)},
      t1(makeTable({1.0, -0.0035}, {0.057, -0.06140350877192979}, -70.0, false)),
      t2(makeTable({1.0, -0.00802125844320371}, {0.9, -0.008912509381337455}, -160.42516886407418,
                   false)),
      t3(makeTable({1.0, -0.0015}, {0.9, -0.0015}, -30.0, false)) {}

const Tables& tablesFor(int factor) {
  if (factor == 7) {
    static const Tables seven(7.0);
    return seven;
  }
  static const Tables eight(8.0);
  return eight;
}

namespace {

float powerCurve(const Taper& taper, float t) {
  const float d = t - taper.offset;
  const double raised = std::pow(static_cast<double>(d), static_cast<double>(taper.exponent));
  return static_cast<float>(static_cast<double>(taper.base) +
                            static_cast<double>(taper.scale) * raised);
}

float arctangentCurve(const Taper& taper, float t) {
  const float s = std::atan(taper.scale);
  const float u = (t - taper.offset) * 2.0F * taper.scale;
  return static_cast<float>((std::atan(static_cast<double>(u)) + static_cast<double>(s)) /
                            static_cast<double>(s + s));
}

float polynomialCurve(const Taper& taper, float t) {
  float sum = taper.poly.back();
  float p = t;
  for (std::size_t i = taper.poly.size() - 1; i-- > 0;) {
    sum = sum + taper.poly[i] * p;
    p = p * t;
  }
  return sum;
}

}  // namespace

float Taper::process(float x) const {
  const bool rising = valueAtOne >= valueAtZero;
  const float t = rising ? x : 1.0F - x;
  float y = t;
  if (curve == 0) y = powerCurve(*this, t);
  if (curve == 1) y = std::pow(t, 1.4142135F);
  if (curve == 2) y = arctangentCurve(*this, t);
  if (curve == 3) y = polynomialCurve(*this, t);
  return rising ? static_cast<float>(valueAtZero) + y * static_cast<float>(valueAtOne - valueAtZero)
                : static_cast<float>(valueAtOne) + y * static_cast<float>(valueAtZero - valueAtOne);
}

namespace {

struct Row {
  int num;
  double frq, q, gain;
};

struct Voicing {
  std::vector<Row> pre, post, eq, power, revise;
  double masterScale;
};

const std::array<Voicing, 3>& voicings() {
  // clang-format off
  static const std::array<Voicing, 3> all{{
      {// clean
       .pre    = {{11, 13000, 1, 0}},
       .post   = {{0, 5000, 1, 0}},
       .eq     = {{11, 200, 1, 0}, {10, 570, 0.7, 0}, {12, 1300, 1, 0}, {12, 4000, 1, 0},
                  {1, 200, 1, 0}, {10, 120, 0.8, 0}},
       .power  = {{1, 18, 1, 0}, {0, 10000, 1, 0}},
       .revise = {{10, 160, 0.8, 2}, {10, 1000, 0.8, -12}, {12, 10000, 1, 2}, {10, 6000, 1.2, 3}},
       .masterScale = 7.07945784},
      {// vintage
       .pre    = {{11, 13000, 1, 0}},
       .post   = {{0, 2300, 1, 0}},
       .eq     = {{11, 200, 1, 0}, {10, 570, 0.7, 0}, {12, 1300, 1, 0}, {12, 4000, 1, 0},
                  {1, 200, 1, 0}, {10, 120, 0.8, 0}, {10, 8000, 0.8, 0}},
       .power  = {{1, 200, 1, 0}, {0, 2000, 1, 0}},
       .revise = {{10, 170, 0.55, 6}, {12, 8000, 1, 6}, {10, 10000, 0.5, 2}, {10, 6000, 1.2, 4}},
       .masterScale = 0.56234133},
      {// modern
       .pre    = {{11, 13000, 1, 0}, {10, 2300, 0.5, 6}},
       .post   = {{0, 2300, 1, 0}},
       .eq     = {{11, 200, 1, 0}, {10, 570, 0.7, 0}, {12, 1300, 1, 0}, {12, 4000, 1, 0},
                  {1, 200, 1, 0}, {10, 120, 0.8, 0}, {10, 8000, 0.8, 0}},
       .power  = {{1, 18, 1, 0}, {0, 10000, 1, 0}},
       .revise = {{10, 280, 0.55, 9}, {10, 6000, 1.2, 10}},
       .masterScale = 0.5},
  }};
  // clang-format on
  return all;
}

Resampler resamplerFor(Model model, int rateInt) {
  // clang-format off
  if (rateInt == 48000 && model == Model::clean)
    return {{4.8179683353, -9.3055224949, 9.0057178461, -4.3669422202, 0.84877273473},
            {3.390157707e-06, -3.4808989017e-06, 2.9901828846e-06,
             2.9901828846e-06, -3.4808989017e-06, 3.390157707e-06}};
  if (rateInt == 48000)
    return {{4.8332211387, -9.3614466813, 9.0826314317, -4.4139531656, 0.85954336641},
            {2.9240486315e-06, -3.6467230335e-06, 2.6776616271e-06,
             2.6776616271e-06, -3.6467230335e-06, 2.9240486315e-06}};
  if (model == Model::modern)
    return {{4.841845695, -9.3932327092, 9.1265709496, -4.4409465392, 0.86575952956},
            {2.6825145427e-06, -3.682642479e-06, 2.5372545281e-06,
             2.5372545281e-06, -3.682642479e-06, 2.6825145427e-06}};
  return {{4.8274344838, -9.3401866833, 9.0533334899, -4.3960100272, 0.85542417619},
          {3.0948410549e-06, -3.5998686196e-06, 2.785376319e-06,
           2.785376319e-06, -3.5998686196e-06, 3.0948410549e-06}};
  // clang-format on
}

std::vector<Section> buildBank(const std::vector<Row>& rows, double fs) {
  std::vector<Section> bank;
  for (const Row& row : rows)
    bank.emplace_back(Record{row.num, row.frq, 0, 0, row.q, row.gain, fs});
  return bank;
}

int truncateRate(double rate) {
  if (std::isnan(rate)) return 0;
  return static_cast<int>(std::clamp(rate, double{INT_MIN}, double{INT_MAX}));
}

double runAll(std::vector<Section>& bank, double x) {
  for (Section& section : bank) x = section.run(x);
  return x;
}

void retune(Section& section, int num, double frq, double q, double gain, double fs, int n) {
  Record record{num, frq, 0.0, 0.0, q, gain, fs};
  section.glideTo(record, n);
}

}  // namespace

Channel::Channel(Model which, double sampleRate)
    : model(which),
      rate(sampleRate),
      rateInt(truncateRate(sampleRate)),
      factor(rateInt == 48000 ? 7 : 8),
      dcBlocker(Record{1, 20.0, 0.0, 0.0, 1.0, 0.0, sampleRate}),
      splitCoef(rateInt == 48000 ? 0.7095 : 0.722),
      tables(&tablesFor(factor)) {
  const Voicing& voicing = voicings()[static_cast<std::size_t>(model)];
  // Outside the clean channel these two banks sit between the shapers, at the oversampled rate.
  const double innerRate = model == Model::clean ? rate : rate * factor;
  pre = buildBank(voicing.pre, rate);
  post = buildBank(voicing.post, innerRate);
  eq = buildBank(voicing.eq, rate);
  power = buildBank(voicing.power, innerRate);
  revise = buildBank(voicing.revise, rate);
  masterScale = voicing.masterScale;
  resampler = resamplerFor(model, rateInt);
}

void Channel::setEQ(double t, double m, double b, double p, int n) {
  retune(eq[0], 11, 200.0, 1.0, ((24.286 * b - 49.186) * b + 31.501) * b - 2.9695, rate, n);
  retune(eq[4], 1, ((-311.9 * b + 644.19) * b - 425.28) * b + 99.728, 1.0, 0.0, rate, n);
  retune(eq[5], 10, 120.0, 0.8, model == Model::clean ? 10.0 * b - 5.0 : 12.0 * b - 6.0, rate, n);
  retune(eq[1], 10,
         (((-3238.1 * t + 6572.8) * t - 4314.7) * t + 1559.0325000000003) +
             (((119.05 * m - 103.06) * m - 215.99) * m),
         (((1.4286 * t - 2.5828) * t + 1.9542) * t + 0.8860249999999998) +
             (((-1.8057 * m + 3.838) * m - 2.9175) * m),
         (((-21.429 * t + 44.841) * t - 30.413) * t - 0.0184 + 6.693275 - 11.79) +
             (((2.381 * m - 10.141) * m + 15.26) * m),
         rate, n);
  retune(eq[2], 12, ((2952.4 * t - 5792.3) * t + 3459.9) * t + 583.26, 1.0,
         (((5.9524 * t - 18.203) * t + 24.751) * t - 8.4928 - 0.076 - 2.0046) +
             (((-1.1905 * m - 0.0396) * m + 4.2301) * m),
         rate, n);
  retune(eq[3], 12, 4000.0, 1.0, 8.0 * p - 8.0, rate, n);
}

void Channel::setGain(double g, int n) {
  gainTarget = model == Model::modern ? 0.501187233 * g : g;
  retune(pre[0], 11, ((620.21 * g - 1096.7) * g + 849.19) * g + 525.68, 1.0,
         ((37.923 * g - 86.963) * g + 75.853) * g - 36.685, rate, n);
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

// Only the first of the factor's outputs is kept; the others live on in the state.
double Channel::oversampled(double v) {
  const double kept = resampler.lowpass(downState, nonlinear(resampler.lowpass(upState, v)));
  for (int j = 1; j < factor; ++j)
    resampler.lowpass(downState, nonlinear(resampler.lowpassOfZero(upState)));
  return kept;
}

double Channel::nonlinear(double y) {
  const double shaped = tables->drive[static_cast<std::size_t>(model)].lookup(y);
  if (model == Model::clean) return shaped;
  const double p = tables->t2.lookup(runAll(power, tables->t1.lookup(runAll(post, shaped))));
  const double low = (splitLow - p) * splitCoef + p;
  const double high = (splitHigh + p) * splitCoef + p;
  const double q = tables->t3.lookup(high - splitHigh);
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
  for (std::vector<Section>* bank : {&pre, &post, &eq, &power, &revise})
    for (Section& section : *bank) section.clear();
  dcBlocker.clear();
  upState.fill(0.0);
  downState.fill(0.0);
  splitLow = splitHigh = 0.0;
}

int channelFromSelect(float v) { return v < 0.33F ? 0 : (v < 0.66F ? 1 : 2); }

// The upper limit keeps a host's nonsense rate from asking for gigabytes.
Switcher::Switcher(double rate, float select)
    : fadeLength(static_cast<int>(std::clamp(std::floor(0.016 * rate), 1.0, double{1 << 20}))),
      lastSelect(select) {
  const double r = 1.0 / fadeLength;
  for (int k = 0; k < fadeLength; ++k) {
    fadeInGain.push_back(r * k);
    fadeOutGain.push_back((fadeLength - k) * r);
  }
}

void Switcher::fillGain(float v, int n, double* gain) {
  const bool same = v == lastSelect || (std::isnan(v) && std::isnan(lastSelect));
  // A change that arrives during the fade-in is left unrecorded, so that it starts its own switch.
  const bool record = state != State::fadingIn;
  if (!same && state == State::idle) state = State::fadingOut;
  for (int i = 0; i < n; ++i) {
    if (state == State::idle) {
      gain[i] = 1.0;
      continue;
    }
    const bool out = state == State::fadingOut;
    gain[i] = (out ? fadeOutGain : fadeInGain)[static_cast<std::size_t>(fadePos)];
    if (++fadePos < fadeLength) continue;
    state = out ? State::fadingIn : State::idle;
    fadePos = 0;
  }
  if (record) lastSelect = v;
}

namespace {

// Decaying filters would otherwise linger in numbers that the processor is slow at.
class FlushToZero {
 public:
  FlushToZero(const FlushToZero&) = delete;
  FlushToZero& operator=(const FlushToZero&) = delete;
#if defined(__SSE__)
  FlushToZero() : saved_(_mm_getcsr()) { _mm_setcsr(saved_ | 0x8000U); }
  ~FlushToZero() { _mm_setcsr(saved_); }

 private:
  unsigned saved_;
#elif defined(__aarch64__)
  FlushToZero() {
    asm volatile("mrs %0, fpcr" : "=r"(saved_));
    asm volatile("msr fpcr, %0" : : "r"(saved_ | (std::uint64_t{1} << 24)));
  }
  ~FlushToZero() { asm volatile("msr fpcr, %0" : : "r"(saved_)); }

 private:
  std::uint64_t saved_ = 0;
#else
  FlushToZero() {}
#endif
};

// What the tapers may be given. NaN compares false and becomes 0.
double tapered(float exponent, float control) {
  const float limited = control > 0.0F ? std::min(control, 1.0F) : 0.0F;
  return static_cast<double>(Taper{.exponent = exponent, .poly = {}}.process(limited));
}

}  // namespace

Amplifier::Amplifier() {
  for (Values& program : programs_) {
    program.fill(0.5F);
    program[19] = 1.0F;
  }
  setProgram(0);
}

void Amplifier::setSampleRate(float rate) {
  const auto r = static_cast<double>(rate);
  if (!std::isfinite(r) || r <= 0.0 || r == appliedRate_) return;
  appliedRate_ = r;
  channels_.clear();
  for (const Model model : {Model::clean, Model::vintage, Model::modern})
    channels_.emplace_back(model, r);
  applied_.fill(-1.0F);
  switcher_.emplace(r, values_[19]);
  active_ = channelFromSelect(values_[19]);
}

void Amplifier::setParameter(int index, float value) {
  if (index < 1 || index > 19) return;
  programs_[curProgram_][static_cast<std::size_t>(index)] = value;
  values_[static_cast<std::size_t>(index)] = value;
}

float Amplifier::getParameter(int index) const {
  return index < 1 || index > 19 ? 0.0F : values_[static_cast<std::size_t>(index)];
}

void Amplifier::setProgram(int program) {
  if (program < 0 || program > 15) return;
  curProgram_ = static_cast<std::size_t>(program);
  for (std::size_t i = 1; i <= 19; ++i) values_[i] = programs_[curProgram_][i];
}

void Amplifier::process(const double* in, double* out, int frames) {
  const int n = std::max(frames, 0);
  if (channels_.empty()) {
    std::fill_n(out, n, 0.0);
    return;
  }
  const FlushToZero guard;
  block(in, out, n);
}

// Not inlined: no arithmetic may move out of the flush-to-zero mode set around it.
[[gnu::noinline]] void Amplifier::block(const double* in, double* out, int n) {
  const float select = values_[19];
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

  Channel& outgoing = channels_[static_cast<std::size_t>(active_)];
  int split = n;
  for (int i = 0; i < n; ++i) {
    if (fade[i] > 0.0) continue;
    split = i;
    active_ = channelFromSelect(select);
  }
  Channel& incoming = channels_[static_cast<std::size_t>(active_)];
  outgoing.signalProcess(in, mono, split);
  incoming.signalProcess(in + split, mono + split, n - split);

  bool poisoned = false;
  silencePoison(outgoing, 0, split, poisoned);
  silencePoison(incoming, split, n, poisoned);
  for (int i = 0; i < n; ++i) out[i] = poisoned ? 0.0 : fade[i] * mono[i];
  applied_ = values_;
}

void Amplifier::silencePoison(Channel& ran, int from, int to, bool& poisoned) {
  const auto finite = [](double x) { return std::isfinite(x); };
  if (std::all_of(mono_.data() + from, mono_.data() + to, finite)) return;
  ran.clear();
  poisoned = true;
}

void Amplifier::pushControls(int n) {
  for (std::size_t c = 0; c < 3; ++c) {
    const auto value = [&](std::size_t knob) { return values_[6 * c + knob]; };
    // A host may send -1, which the set-up also uses for "never applied".
    const auto moved = [&](std::size_t knob) {
      const float applied = applied_[6 * c + knob];
      return value(knob) != applied || applied < 0.0F;
    };
    enum : std::size_t { presence = 1, bass, mid, treble, master, gain };
    if (moved(bass) || moved(mid) || moved(treble) || moved(presence))
      channels_[c].setEQ(tapered(1.0F, value(treble)), tapered(1.0F, value(mid)),
                         tapered(0.5F, value(bass)), tapered(1.0F, value(presence)), n);
    if (moved(gain)) channels_[c].setGain(tapered(3.0F, value(gain)), n);
    if (moved(master)) channels_[c].setMaster(tapered(2.0F, value(master)), n);
  }
}

}  // namespace quellard::plain
