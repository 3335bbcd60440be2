#include "tools/compare_render.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <complex>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <system_error>

#include "oggenc/wav_reader.h"
#include "tools/fft.h"

namespace vexolo {
namespace {

constexpr double kSilenceDb = -120;

/// Octaves around 31.5 Hz ... 16 kHz; each reaches from centre / sqrt 2 to centre * sqrt 2.
constexpr std::array<double, kBandCount> kCentres = {31.5, 63,   125,  250,  500,
                                                     1000, 2000, 4000, 8000, 16000};
constexpr std::size_t kSpectrumSize = 8192;

/// Onsets: window, hop and the distance over which magnitudes are compared, in frames or hops (46
/// ms, 0.7 ms and 12 ms at 44.1 kHz). A window shorter than a few periods of the lowest notes would
/// see an onset in every period.
constexpr std::size_t kOnsetSize = 2048;
constexpr std::size_t kOnsetHop = 64;
constexpr std::size_t kOnsetLag = 8;  // hops

/// Onsets are sought in each of these bands by itself, so that a note does not hide behind a
/// cymbal. Hz.
constexpr std::array<double, 5> kOnsetBandEdges = {60, 700, 2500, 6500, 16000};
constexpr std::size_t kOnsetBands = kOnsetBandEdges.size() - 1;

/// Magnitude, of a full-scale sine, below which a bin counts as silent.
constexpr float kMagnitudeFloor = 0.003F;

double Decibels(double power) { return power > 1e-12 ? 10 * std::log10(power) : kSilenceDb; }

double PowerOf(std::span<const float> samples) {
  double sum = 0;
  for (const float s : samples) sum += static_cast<double>(s) * s;
  return samples.empty() ? 0 : sum / static_cast<double>(samples.size());
}

double CommonGainDb(std::span<const float> one, std::span<const float> other) {
  const double power_one = PowerOf(one);
  const double power_other = PowerOf(other);
  // Silence has no gain; the level then shows it.
  if (power_one == 0 || power_other == 0) return 0;
  return 10 * std::log10(power_other / power_one);
}

/// Two sounds of equal length, OTHER with the common gain taken out.
struct Pair {
  int sample_rate;
  std::size_t channels;
  std::span<const float> one;
  std::vector<float> other;

  std::size_t frames() const { return one.size() / channels; }
};

double PowerOfSide(std::span<const float> samples, std::size_t channels, std::size_t side) {
  double sum = 0;
  for (std::size_t i = side; i < samples.size(); i += channels) {
    sum += static_cast<double>(samples[i]) * samples[i];
  }
  const std::size_t frames = samples.size() / channels;
  return sum / static_cast<double>(frames);
}

/// Each side by itself: one that is missing must not hide behind the other.
LevelReport CompareLevels(const Pair& pair) {
  LevelReport report;
  const std::size_t second = pair.sample_rate * pair.channels;
  for (std::size_t start = 0; start < pair.one.size(); start += second) {
    const std::size_t count = std::min(second, pair.one.size() - start);
    bool loud = false;
    for (std::size_t side = 0; side < pair.channels; ++side) {
      const double one = Decibels(PowerOfSide(pair.one.subspan(start, count), pair.channels, side));
      const double other =
          Decibels(PowerOfSide(std::span(pair.other).subspan(start, count), pair.channels, side));
      if (std::max(one, other) < kSecondFloorDb) continue;
      loud = true;
      if (std::abs(other - one) > report.max_db) {
        report.max_db = std::abs(other - one);
        const std::size_t whole_seconds = start / second;
        report.max_at = static_cast<double>(whole_seconds);
      }
    }
    if (loud) ++report.seconds;
  }
  return report;
}

/// Power in each octave.
struct BandPowers {
  std::array<double, kBandCount> one{};
  std::array<double, kBandCount> other{};
  std::size_t windows = 0;

  void Add(const BandPowers& powers) {
    for (std::size_t b = 0; b < kBandCount; ++b) {
      one[b] += powers.one[b];
      other[b] += powers.other[b];
    }
    windows += powers.windows;
  }
  double OneDb(std::size_t band) const {
    return Decibels(one[band] / static_cast<double>(windows));
  }
  double OtherDb(std::size_t band) const {
    return Decibels(other[band] / static_cast<double>(windows));
  }
};

class SpectrumMeter {
 public:
  explicit SpectrumMeter(const Pair& pair)
      : pair_(pair), fft_(kSpectrumSize), window_(HannWindow(kSpectrumSize)), work_(kSpectrumSize) {
    const double bin_width = static_cast<double>(pair.sample_rate) / kSpectrumSize;
    for (std::size_t b = 0; b < kBandCount; ++b) {
      first_bin_[b] = BinAt(kCentres[b] / std::sqrt(2.0) / bin_width);
      end_bin_[b] = BinAt(kCentres[b] * std::sqrt(2.0) / bin_width);
    }
  }

  /// The window that begins at `frame`; what lies past the end counts as silence.
  BandPowers At(std::size_t frame) {
    BandPowers powers;
    powers.windows = 1;
    for (std::size_t c = 0; c < pair_.channels; ++c) AddChannel(frame, c, powers);
    return powers;
  }

 private:
  static std::size_t BinAt(double bins) {
    return std::min(kSpectrumSize / 2, static_cast<std::size_t>(std::ceil(bins)));
  }

  void AddChannel(std::size_t frame, std::size_t channel, BandPowers& powers) {
    for (std::size_t i = 0; i < kSpectrumSize; ++i) {
      const std::size_t at = (frame + i) * pair_.channels + channel;
      work_[i] = at < pair_.one.size()
                     ? std::complex<float>(pair_.one[at], pair_.other[at]) * window_[i]
                     : std::complex<float>();
    }
    fft_.Transform(work_);
    const double scale =
        2 / std::pow(static_cast<double>(kSpectrumSize), 2) / static_cast<double>(pair_.channels);
    for (std::size_t b = 0; b < kBandCount; ++b) {
      for (std::size_t k = first_bin_[b]; k < end_bin_[b]; ++k) {
        const BinPair bins = SplitBin(work_, k);
        powers.one[b] += scale * std::norm(bins.first);
        powers.other[b] += scale * std::norm(bins.second);
      }
    }
  }

  const Pair& pair_;
  Fft fft_;
  std::vector<float> window_;
  std::vector<std::complex<float>> work_;
  std::array<std::size_t, kBandCount> first_bin_;
  std::array<std::size_t, kBandCount> end_bin_;
};

/// Keeps the largest difference of one second.
void NoteWorst(const BandPowers& second, double at, std::array<BandReport, kBandCount>& bands) {
  for (std::size_t b = 0; b < kBandCount; ++b) {
    if (std::max(second.OneDb(b), second.OtherDb(b)) < kSecondFloorDb) continue;
    const double difference = second.OtherDb(b) - second.OneDb(b);
    if (std::abs(difference) > std::abs(bands[b].worst_second)) {
      bands[b].worst_second = difference;
      bands[b].worst_at = at;
    }
  }
}

std::array<BandReport, kBandCount> CompareSpectra(const Pair& pair) {
  std::array<BandReport, kBandCount> bands;
  SpectrumMeter meter(pair);
  BandPowers song;
  for (std::size_t start = 0; start < pair.frames(); start += pair.sample_rate) {
    BandPowers second;
    const std::size_t end = std::min(pair.frames(), start + pair.sample_rate);
    for (std::size_t at = start; at < end; at += kSpectrumSize / 2) second.Add(meter.At(at));
    NoteWorst(second, static_cast<double>(start) / pair.sample_rate, bands);
    song.Add(second);
  }
  for (std::size_t b = 0; b < kBandCount; ++b) {
    BandReport& band = bands[b];
    band.centre = kCentres[b];
    band.one_db = song.windows == 0 ? kSilenceDb : song.OneDb(b);
    band.other_db = song.windows == 0 ? kSilenceDb : song.OtherDb(b);
    if (std::max(band.one_db, band.other_db) >= kBandFloorDb) {
      band.difference = band.other_db - band.one_db;
    }
  }
  return bands;
}

/// How much new sound comes in, for each hop, in one band: the sum over the bins of the rise of
/// the logarithm of their magnitude.
struct Novelty {
  std::vector<float> one;
  std::vector<float> other;
};

class NoveltyMeter {
 public:
  explicit NoveltyMeter(const Pair& pair)
      : pair_(pair), fft_(kOnsetSize), window_(HannWindow(kOnsetSize)), work_(kOnsetSize) {}

  std::array<Novelty, kOnsetBands> Measure() {
    std::array<Novelty, kOnsetBands> novelty;
    const std::size_t hops = pair_.frames() / kOnsetHop;
    for (Novelty& band : novelty) {
      band.one.resize(hops);
      band.other.resize(hops);
    }
    for (std::size_t hop = 0; hop < hops; ++hop) {
      TakeMagnitudes(hop);
      if (hop >= kOnsetLag) AddRises(hop, novelty);
    }
    return novelty;
  }

 private:
  using Magnitudes = std::array<float, kOnsetSize / 2>;

  /// The window is centred on the hop.
  void TakeMagnitudes(std::size_t hop) {
    for (std::size_t i = 0; i < kOnsetSize; ++i) {
      const std::size_t shifted = hop * kOnsetHop + i;
      const std::size_t frame = shifted - kOnsetSize / 2;
      work_[i] =
          shifted >= kOnsetSize / 2 && frame < pair_.frames()
              ? std::complex<float>(Mono(pair_.one, frame), Mono(pair_.other, frame)) * window_[i]
              : std::complex<float>();
    }
    fft_.Transform(work_);
    constexpr float kScale = 2.0F / kOnsetSize / kMagnitudeFloor;
    for (std::size_t k = 0; k < kOnsetSize / 2; ++k) {
      const BinPair bins = SplitBin(work_, k);
      one_[hop % kHistory][k] = std::log2(1 + kScale * std::sqrt(std::norm(bins.first)));
      other_[hop % kHistory][k] = std::log2(1 + kScale * std::sqrt(std::norm(bins.second)));
    }
  }

  float Mono(std::span<const float> samples, std::size_t frame) const {
    float sum = 0;
    for (std::size_t c = 0; c < pair_.channels; ++c) sum += samples[frame * pair_.channels + c];
    return sum / static_cast<float>(pair_.channels);
  }

  void AddRises(std::size_t hop, std::array<Novelty, kOnsetBands>& novelty) const {
    const std::size_t now = hop % kHistory;
    const std::size_t before = (hop - kOnsetLag) % kHistory;
    const double bin_width = static_cast<double>(pair_.sample_rate) / kOnsetSize;
    for (std::size_t b = 0; b < kOnsetBands; ++b) {
      const auto first = static_cast<std::size_t>(std::ceil(kOnsetBandEdges[b] / bin_width));
      const auto end = static_cast<std::size_t>(std::ceil(kOnsetBandEdges[b + 1] / bin_width));
      for (std::size_t k = first; k < std::min(end, kOnsetSize / 2); ++k) {
        novelty[b].one[hop] += std::max(0.0F, one_[now][k] - one_[before][k]);
        novelty[b].other[hop] += std::max(0.0F, other_[now][k] - other_[before][k]);
      }
    }
  }

  static constexpr std::size_t kHistory = kOnsetLag + 1;

  const Pair& pair_;
  Fft fft_;
  std::vector<float> window_;
  std::vector<std::complex<float>> work_;
  std::array<Magnitudes, kHistory> one_;
  std::array<Magnitudes, kHistory> other_;
};

/// Hops at which the novelty has a clear peak: nothing higher within `reach` hops, and well above
/// what is usual around it and in the whole song.
std::vector<std::size_t> FindPeaks(const std::vector<float>& novelty, std::size_t reach) {
  std::vector<double> sums(novelty.size() + 1);
  for (std::size_t i = 0; i < novelty.size(); ++i) sums[i + 1] = sums[i] + novelty[i];
  const float highest = novelty.empty() ? 0 : *std::max_element(novelty.begin(), novelty.end());
  std::vector<std::size_t> peaks;
  for (std::size_t i = reach; i + reach < novelty.size(); ++i) {
    const auto at = novelty.begin() + static_cast<std::ptrdiff_t>(i);
    const auto span = static_cast<std::ptrdiff_t>(reach);
    if (novelty[i] < 0.2F * highest || std::max_element(at - span, at + span + 1) != at) continue;
    const std::size_t wide = 16 * reach;
    const std::size_t from = i > wide ? i - wide : 0;
    const std::size_t to = std::min(novelty.size(), i + wide);
    const double usual = (sums[to] - sums[from]) / static_cast<double>(to - from);
    if (novelty[i] > 2.5 * usual) peaks.push_back(i);
  }
  return peaks;
}

/// How alike 2 * reach + 1 values around two places are: 1 where they are equal, falling with
/// differences of shape as well as of height. (A correlation freed from height would match an onset
/// with any small bump near it.)
double Resemblance(const std::vector<float>& a, std::size_t at_a, const std::vector<float>& b,
                   std::size_t at_b, std::size_t reach) {
  double squares = 0;
  double products = 0;
  for (std::size_t i = 0; i <= 2 * reach; ++i) {
    const double x = a[at_a - reach + i];
    const double y = b[at_b - reach + i];
    squares += x * x + y * y;
    products += x * y;
  }
  return squares > 0 ? 2 * products / squares : 0;
}

/// Where the peak of a parabola through three neighbours lies, relative to the middle one.
double ParabolaPeak(double left, double middle, double right) {
  const double curve = left - 2 * middle + right;
  return curve < 0 ? 0.5 * (left - right) / curve : 0;
}

struct OnsetDifference {
  double seconds;  ///< where the onset is
  double ms;       ///< how much later the counterpart comes
};

/// The counterpart, in `to`, of the onset at `hop` of `from`: hops by which it is later. Of several
/// nearly alike (the strokes of a roll, the periods of a low note) the nearest. False where nothing
/// there resembles it.
bool MatchOnset(const std::vector<float>& from, std::size_t hop, const std::vector<float>& to,
                std::size_t reach, std::size_t search, double& later) {
  constexpr double kResemblance = 0.7;
  constexpr double kNearlyAsAlike = 0.1;
  if (hop < reach + search || hop + reach + search >= to.size()) return false;
  std::vector<double> resemblance;
  for (std::size_t at = hop - search; at <= hop + search; ++at) {
    resemblance.push_back(Resemblance(from, hop, to, at, reach));
  }
  const double highest = *std::max_element(resemblance.begin(), resemblance.end());
  if (highest < kResemblance) return false;
  std::size_t best = 0;
  for (std::size_t i = 1; i + 1 < resemblance.size(); ++i) {
    const bool peak = resemblance[i] >= resemblance[i - 1] && resemblance[i] >= resemblance[i + 1];
    if (!peak || resemblance[i] < highest - kNearlyAsAlike) continue;
    const auto distance = [search](std::size_t at) {
      return at > search ? at - search : search - at;
    };
    if (best == 0 || distance(i) < distance(best)) best = i;
  }
  if (best == 0) return false;
  later = static_cast<double>(best) - static_cast<double>(search) +
          ParabolaPeak(resemblance[best - 1], resemblance[best], resemblance[best + 1]);
  return true;
}

class OnsetComparer {
 public:
  explicit OnsetComparer(int sample_rate)
      : hop_seconds_(static_cast<double>(kOnsetHop) / sample_rate),
        reach_(HopsOf(0.030)),
        search_(HopsOf(kOnsetSearchMs / 1000)) {}

  /// Seeks every onset of one in the other and the other way round, so that neither may have some
  /// that the other lacks.
  void Add(const Novelty& band) {
    AddDirection(band.one, band.other, 1);
    AddDirection(band.other, band.one, -1);
  }

  OnsetReport Report() {
    report_.count = differences_.size() + report_.missing;
    if (differences_.empty()) return report_;
    std::vector<double> signed_ms;
    std::vector<double> plain_ms;
    for (const OnsetDifference& d : differences_) {
      signed_ms.push_back(d.ms);
      plain_ms.push_back(std::abs(d.ms));
      if (std::abs(d.ms) > report_.max_ms) {
        report_.max_ms = std::abs(d.ms);
        report_.max_at = d.seconds;
      }
    }
    report_.offset_ms = Quantile(signed_ms, 0.5);
    report_.median_ms = Quantile(plain_ms, 0.5);
    report_.percentile95_ms = Quantile(plain_ms, 0.95);
    return report_;
  }

 private:
  std::size_t HopsOf(double seconds) const {
    return static_cast<std::size_t>(std::lround(seconds / hop_seconds_));
  }

  static double Quantile(std::vector<double> values, double part) {
    const auto rank =
        static_cast<std::ptrdiff_t>(std::lround(part * static_cast<double>(values.size() - 1)));
    std::nth_element(values.begin(), values.begin() + rank, values.end());
    return values[static_cast<std::size_t>(rank)];
  }

  void AddDirection(const std::vector<float>& from, const std::vector<float>& to, int sign) {
    for (const std::size_t hop : FindPeaks(from, reach_)) {
      if (hop < reach_ + search_ || hop + reach_ + search_ >= to.size()) continue;
      double later = 0;
      if (MatchOnset(from, hop, to, reach_, search_, later)) {
        differences_.push_back(
            {static_cast<double>(hop) * hop_seconds_, sign * later * hop_seconds_ * 1000});
      } else {
        ++report_.missing;
      }
    }
  }

  double hop_seconds_;
  std::size_t reach_;
  std::size_t search_;
  std::vector<OnsetDifference> differences_;
  OnsetReport report_;
};

OnsetReport CompareOnsets(const Pair& pair) {
  OnsetComparer comparer(pair.sample_rate);
  for (const Novelty& band : NoveltyMeter(pair).Measure()) comparer.Add(band);
  return comparer.Report();
}

// The compiler checks the arguments. NOLINTNEXTLINE(cert-dcl50-cpp)
[[gnu::format(printf, 1, 2)]] std::string Format(const char* format, ...) {
  std::array<char, 256> line;
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line.data(), line.size(), format, arguments);
  va_end(arguments);
  return line.data();
}

}  // namespace

bool ReadSound(const std::string& path, Sound& sound, std::string& error) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                             std::fclose);
  if (file == nullptr) {
    error = path + ": " + std::generic_category().message(errno);
    return false;
  }
  oggenc::WavReader reader(file.get());
  sound = Sound();
  if (reader.ReadHeader()) {
    sound.sample_rate = reader.format().sample_rate;
    sound.channels = reader.format().channels;
    std::vector<std::int16_t> block(65536);
    while (const std::size_t frames = reader.ReadFrames(block)) {
      for (std::size_t i = 0; i < frames * sound.channels; ++i) {
        sound.samples.push_back(static_cast<float>(block[i]) / 32768.0F);
      }
    }
  }
  if (!reader.error().empty()) error = path + ": " + reader.error();
  return reader.error().empty();
}

Comparison Compare(const Sound& one, const Sound& other) {
  Comparison comparison;
  comparison.length_one = static_cast<double>(one.frames()) / one.sample_rate;
  comparison.length_other = static_cast<double>(other.frames()) / other.sample_rate;
  const std::size_t common = std::min(one.frames(), other.frames()) * one.channels;
  Pair pair{one.sample_rate,
            static_cast<std::size_t>(one.channels),
            std::span(one.samples).first(common),
            {other.samples.begin(), other.samples.begin() + static_cast<std::ptrdiff_t>(common)}};
  comparison.gain_db = CommonGainDb(pair.one, pair.other);
  const auto gain = static_cast<float>(std::pow(10, -comparison.gain_db / 20));
  for (float& s : pair.other) s *= gain;
  comparison.onsets = CompareOnsets(pair);
  comparison.level = CompareLevels(pair);
  comparison.bands = CompareSpectra(pair);
  return comparison;
}

std::vector<std::string> PassedLimits(const Comparison& comparison, const Limits& limits) {
  std::vector<std::string> passed;
  const OnsetReport& onsets = comparison.onsets;
  if (onsets.max_ms > limits.onset_ms) {
    passed.push_back(Format("onsets: %.2f ms at %.2f s, limit %.2f ms", onsets.max_ms,
                            onsets.max_at, limits.onset_ms));
  }
  if (static_cast<double>(onsets.missing) >
      limits.missing_part * static_cast<double>(onsets.count)) {
    passed.push_back(Format("onsets: %zu of %zu have no counterpart, limit %.1f %%", onsets.missing,
                            onsets.count, 100 * limits.missing_part));
  }
  if (comparison.level.max_db > limits.level_db) {
    passed.push_back(Format("level: %.2f dB in the second from %.0f s, limit %.2f dB",
                            comparison.level.max_db, comparison.level.max_at, limits.level_db));
  }
  for (const BandReport& band : comparison.bands) {
    if (std::abs(band.difference) <= limits.band_db) continue;
    passed.push_back(Format("spectrum: %+.2f dB in the octave around %g Hz, limit %.2f dB",
                            band.difference, band.centre, limits.band_db));
  }
  const double tail = std::abs(comparison.length_one - comparison.length_other);
  if (tail > limits.tail) {
    passed.push_back(Format("length: differs by %.1f s, limit %.1f s", tail, limits.tail));
  }
  return passed;
}

std::string Table(const Comparison& comparison) {
  const OnsetReport& onsets = comparison.onsets;
  const LevelReport& level = comparison.level;
  std::string table;
  table += Format("length      ONE %.3f s, OTHER %.3f s\n", comparison.length_one,
                  comparison.length_other);
  table += Format("gain        %+.2f dB (OTHER over ONE), taken out below\n", comparison.gain_db);
  table +=
      Format("onsets      %zu, of which %zu without a counterpart\n", onsets.count, onsets.missing);
  table += Format("            median %.2f ms, 95 %% within %.2f ms, largest %.2f ms (at %.2f s)\n",
                  onsets.median_ms, onsets.percentile95_ms, onsets.max_ms, onsets.max_at);
  table += Format("offset      %+.2f ms (OTHER is later), not taken out\n", onsets.offset_ms);
  table += Format("level       %.2f dB at most in any of %zu seconds (at %.0f s)\n", level.max_db,
                  level.seconds, level.max_at);
  table += "\noctave      ONE         OTHER       difference  worst second\n";
  for (const BandReport& band : comparison.bands) {
    table += Format("%7g Hz  %7.2f dB  %7.2f dB  %+7.2f dB  %+7.2f dB at %.0f s\n", band.centre,
                    band.one_db, band.other_db, band.difference, band.worst_second, band.worst_at);
  }
  return table;
}

}  // namespace vexolo
