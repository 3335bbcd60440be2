/// The reverberation unit: what a room returns of a stereo signal, without the signal itself.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "engine/ramp.h"
#include "engine/tail.h"

namespace vexolo::engine {

/// Band limiting, a delay, a dozen first reflections on each side, all-pass diffusion and a
/// feedback network of sixteen delay lines.
///
/// The lines are mixed by a Hadamard matrix (J.-M. Jot, A. Chaigne: "Digital delay networks for
/// designing artificial reverberators", AES 90, 1991) behind slowly turning plane rotations, which
/// keep the energy and break up standing tones (S. Schlecht, E. Habets: "Time-varying feedback
/// matrices in feedback delay networks", JASA 138, 2015). A line of n frames loses
/// 60 dB * n / (time * rate), so that all frequencies decay alike.
///
/// White noise comes out 6 dB below its level at 1800 ms, from 7 dB below (10 ms) to 4 dB below
/// (20 s). Setters take effect over a ramp; one thread at a time; nothing allocates after
/// construction.
class Reverb {
 public:
  Reverb();

  void SetTime(float milliseconds);   ///< until the tail has fallen by 60 dB, 10..20000
  void SetDelay(float milliseconds);  ///< to the first reflection, 0..200
  void SetLowPass(float hertz);       ///< -3 dB, 12 dB per octave, up to 20000, 0 = off
  void SetHighPass(float hertz);      ///< -3 dB, 12 dB per octave, up to 20000, 0 = off

  /// The values set so far hold from the next frame on.
  void Snap();

  /// As new, but for the values.
  void Silence();

  /// Writes the reverberation alone. The outputs may not overlap the inputs.
  void Process(const float* in_left, const float* in_right, float* out_left, float* out_right,
               int frames);

  /// No sample that comes out after this (input silent from now on) is larger.
  float TailBound() const;

 private:
  static constexpr int kLines = 16;
  static constexpr int kDiffusers = 4;  // on each side
  static constexpr int kEarly = 12;     // first reflections on each side
  static constexpr int kRotations = 4;  // each turns two pairs of lines
  static constexpr int kHistory = 157;  // cells: longest delay, last first reflection, one more
  static constexpr int kDelayMask = 16383;
  static constexpr int kEarlyMask = 2047;

  using Cell = std::array<float, kCell>;
  using Stereo = std::array<Cell, 2>;

  /// A delay line in which the oldest frames stand where the next ones go.
  struct Line {
    float* samples = nullptr;
    int length = 0;
    int position = 0;

    void Read(float* out, int frames) const;
    void Write(const float* in, int frames);  // behind Read of as many frames
  };

  /// Second-order Butterworth in topology-preserving form (V. Zavalishin: "The art of VA filter
  /// design"): stable and without steps while the cut-off moves.
  struct Filter {
    Ramp warped;  // tan(pi * cut-off / rate)
    Ramp share;   // 0 = passes everything, 1 = filters
    std::array<std::array<double, 2>, 2> state{};

    void Set(float hertz);
    void Snap();
    void Advance(int frames);
    bool Steady() const { return warped.Steady() && share.Steady(); }
    bool Off() const { return share.Zero(); }
    void Process(bool high_pass, Stereo& signal, int frames);
  };

  void ProcessPart(const float* in_left, const float* in_right, float* out_left, float* out_right,
                   int frames);
  void Rest(float* out_left, float* out_right, int frames);
  void StartFade();
  void EndPart(int frames);
  void LimitBand(Stereo& signal, int frames);
  void Delay(Stereo& signal, int frames);
  void ReadDelay(int delay, Stereo& out, int frames) const;
  void Reflect(int side, const Cell& in, float* out, int frames);
  const float* Early(int side, int tap) const;
  void Diffuse(int side, const Cell& in, Cell& out, int frames);
  void Rotate(int frames);
  void UpdateRotations();
  void Mix(int frames);
  void FeedLines(const Stereo& diffused, int frames);

  std::vector<float> memory_;
  std::array<Line, kLines> lines_;
  std::array<std::array<Line, kDiffusers>, 2> diffusers_;
  std::array<std::vector<float>, 2> delay_line_;
  std::array<std::vector<float>, 2> early_line_;

  float time_ = 0.0F;
  std::array<Ramp, kLines> line_gain_;
  std::array<std::array<Ramp, kDiffusers>, 2> diffuser_gain_;
  std::array<std::array<Ramp, kEarly>, 2> early_gain_;
  Ramp diffused_gain_;  // of what went through the diffusers
  Ramp level_;

  Filter low_pass_;
  Filter high_pass_;

  int wanted_delay_ = 0;  // frames
  int delay_ = 0;
  int next_delay_ = 0;
  int fade_left_ = 0;  // from delay_ to next_delay_

  bool resting_ = true;
  int cell_position_ = 0;
  std::uint32_t cells_ = 0;  // since Silence; drives the rotations
  int write_ = 0;            // into the delay line and, masked, the early line
  PeakHistory<kHistory> written_;

  std::array<float, kRotations> cos_, cos_step_, sin_, sin_step_;  // over the present cell
  alignas(64) std::array<Cell, kLines> line_signal_;
};

}  // namespace vexolo::engine
