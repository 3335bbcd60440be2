/// The engine as the program meets it: through its table of functions.
#pragma once

#include <cstdint>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "audio/bass.h"
#include "engine/exports.h"
#include "song_builder.h"
#include "tone_bank.h"

namespace vexolo::engine::testing {

using bass::DWORD;
using bass::QWORD;

inline constexpr DWORD kDecode = bass::BASS_STREAM_DECODE;
inline constexpr DWORD kDecay = bass::BASS_MIDI_DECAYEND;
inline constexpr DWORD kMix = bass::BASS_SYNC_MIXTIME;
inline constexpr DWORD kEventSync = bass::BASS_SYNC_MIDI_EVENT;
inline constexpr DWORD kBytes = bass::BASS_POS_BYTE;
inline constexpr DWORD kTicks = bass::BASS_POS_MIDI_TICK;

/// Interleaved 16-bit stereo.
using Pcm = std::vector<std::int16_t>;

inline std::size_t FramesOf(const Pcm& sound) { return sound.size() / 2; }

class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  /// 0..`end` - 1.
  DWORD Below(DWORD end) { return static_cast<DWORD>(engine_() % end); }

 private:
  std::mt19937_64 engine_;
};

/// One library for each test, without a device unless the test's class says otherwise.
class EngineTest : public ::testing::Test {
 protected:
  explicit EngineTest(int device = 0) : device_(device) {}

  void SetUp() override { ASSERT_TRUE(api.BASS_Init(device_, 44100, 0, nullptr, nullptr)); }
  void TearDown() override {
    api.BASS_Free();
    for (const std::string& path : files_) std::filesystem::remove(path);
  }

  DWORD Create(const SongBuilder& song, DWORD flags = kDecode) {
    const std::string bytes = song.Song();
    const DWORD stream =
        api.BASS_MIDI_StreamCreateFile(1, bytes.data(), 0, bytes.size(), flags, 44100);
    EXPECT_NE(stream, 0u) << api.BASS_ErrorGetCode();
    return stream;
  }

  std::string Path(const std::string& name) {
    files_.push_back(::testing::TempDir() +
                     ::testing::UnitTest::GetInstance()->current_test_info()->name() + "_" + name);
    return files_.back();
  }

  DWORD LoadTones(double amplitude = 0.5) {
    const std::string path = Path(std::to_string(files_.size()) + ".sf2");
    std::ofstream(path, std::ios::binary) << ToneBank(amplitude);
    const DWORD font = api.BASS_MIDI_FontInit(path.c_str(), 0);
    EXPECT_NE(font, 0u) << api.BASS_ErrorGetCode();
    return font;
  }

  bool SetFont(DWORD stream, DWORD font) {
    const bass::BASS_MIDI_FONT entry = {font, -1, 0};
    return api.BASS_MIDI_StreamSetFonts(stream, &entry, 1) != 0;
  }

  /// Streams that are created from here on play pure tones.
  void UseTones() { ASSERT_TRUE(SetFont(0, LoadTones())); }

  /// Up to `frames` frames, in blocks of `block`.
  Pcm Pull(DWORD stream, std::size_t frames, std::size_t block = 441) {
    Pcm sound(2 * frames);
    std::size_t done = 0;
    while (done < frames) {
      const std::size_t wanted = std::min(block, frames - done);
      const DWORD bytes =
          api.BASS_ChannelGetData(stream, &sound[2 * done], static_cast<DWORD>(4 * wanted));
      if (bytes == bass::kError32) break;
      done += bytes / 4;
    }
    sound.resize(2 * done);
    return sound;
  }

  Pcm PullAll(DWORD stream, std::size_t block = 4410) { return Pull(stream, 44100u * 120, block); }

  bool Send(DWORD stream, DWORD channel, DWORD event, DWORD value) {
    return api.BASS_MIDI_StreamEvent(stream, channel, event, value) != 0;
  }
  DWORD Value(DWORD stream, DWORD channel, DWORD event) {
    return api.BASS_MIDI_StreamGetEvent(stream, channel, event);
  }
  QWORD Length(DWORD stream, DWORD mode = kBytes) {
    return api.BASS_ChannelGetLength(stream, mode);
  }
  QWORD Position(DWORD stream, DWORD mode = kBytes) {
    return api.BASS_ChannelGetPosition(stream, mode);
  }
  bool Seek(DWORD stream, QWORD place, DWORD mode = kBytes) {
    return api.BASS_ChannelSetPosition(stream, place, mode) != 0;
  }
  int Error() { return api.BASS_ErrorGetCode(); }

  using OnSync = std::function<void(DWORD data)>;
  using OnSound = std::function<void(std::span<std::int16_t>)>;

  DWORD Sync(DWORD stream, DWORD type, QWORD param, OnSync call) {
    syncs_.push_back(std::move(call));
    const auto proc = [](DWORD, DWORD, DWORD data, void* user) {
      (*static_cast<OnSync*>(user))(data);
    };
    return api.BASS_ChannelSetSync(stream, type, param, proc, &syncs_.back());
  }

  DWORD Dsp(DWORD stream, OnSound call, int priority = 0) {
    dsps_.push_back(std::move(call));
    const auto proc = [](DWORD, DWORD, void* buffer, DWORD length, void* user) {
      (*static_cast<OnSound*>(user))({static_cast<std::int16_t*>(buffer), length / 2});
    };
    return api.BASS_ChannelSetDSP(stream, proc, &dsps_.back(), priority);
  }

  const bass::Api& api = EngineApi();

 private:
  int device_;
  std::vector<std::string> files_;
  std::deque<OnSync> syncs_;
  std::deque<OnSound> dsps_;
};

// ---- Measurements

/// The left side between two frames.
inline std::vector<double> Left(const Pcm& sound, std::size_t from, std::size_t to) {
  std::vector<double> side;
  for (std::size_t i = from; i < to && 2 * i < sound.size(); ++i) side.push_back(sound[2 * i]);
  return side;
}

inline double RmsOf(const std::vector<double>& samples) {
  double sum = 0;
  for (const double sample : samples) sum += sample * sample;
  return std::sqrt(sum / static_cast<double>(samples.size()));
}

/// Frequency of a pure tone, from its rising crossings of zero. 0 where there is no tone.
inline double Hertz(const Pcm& sound, std::size_t from, std::size_t to) {
  const std::vector<double> side = Left(sound, from, to);
  double first = -1;
  double last = -1;
  int periods = -1;
  for (std::size_t i = 1; i < side.size(); ++i) {
    if (side[i - 1] >= 0 || side[i] < 0) continue;
    const double at = static_cast<double>(i) - side[i] / (side[i] - side[i - 1]);
    if (first < 0) first = at;
    last = at;
    ++periods;
  }
  return periods < 3 ? 0 : 44100.0 * periods / (last - first);
}

inline double Cents(double hertz, double reference) { return 1200 * std::log2(hertz / reference); }

}  // namespace vexolo::engine::testing
