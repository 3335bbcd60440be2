/// realtime BANK SONG [SECONDS]: plays a song on the output (a silent clock where there is no
/// device) while another thread sends 1,000 random events a second, and prints how much processor
/// time each block took on the mixing thread. Exit status 1 where the 99.9th percentile reaches
/// half a block.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <thread>
#include <vector>

#include "audio/error_report.h"
#include "audio/loader.h"

namespace {

struct Measured {
  std::vector<double> block_ms;  ///< reserved beforehand: the mixing thread only appends
  std::vector<double> frames;
  double last = -1;
};

double ThreadMilliseconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

// Called at the end of every block: the thread's time since the last call is that block's.
void Measure(bass::HDSP, bass::DWORD, void*, bass::DWORD length, void* user) {
  auto* measured = static_cast<Measured*>(user);
  const double now = ThreadMilliseconds();
  if (measured->last >= 0 && measured->block_ms.size() < measured->block_ms.capacity()) {
    measured->block_ms.push_back(now - measured->last);
    measured->frames.push_back(length / 4.0);
  }
  measured->last = now;
}

void SendRandomEvents(const bass::Api& api, bass::HSTREAM stream, const std::atomic<bool>& leave,
                      std::uint64_t* sent) {
  struct Kind {
    bass::DWORD event;
    bass::DWORD highest;
  };
  constexpr Kind kKinds[] = {
      {bass::MIDI_EVENT_MIXLEVEL, 200},     {bass::MIDI_EVENT_VOLUME, 127},
      {bass::MIDI_EVENT_PAN, 127},          {bass::MIDI_EVENT_REVERB, 127},
      {bass::MIDI_EVENT_CHORUS, 127},       {bass::MIDI_EVENT_TRANSPOSE, 112},
      {bass::MIDI_EVENT_REVERB_TIME, 8000}, {bass::MIDI_EVENT_REVERB_DELAY, 800},
      {bass::MIDI_EVENT_REVERB_LEVEL, 150}, {bass::MIDI_EVENT_CHORUS_DEPTH, 200},
      {bass::MIDI_EVENT_CHORUS_DELAY, 400}, {bass::MIDI_EVENT_CHORUS_LEVEL, 150},
      {bass::MIDI_EVENT_PROGRAM, 127},
  };
  std::mt19937 random(1);
  auto next = std::chrono::steady_clock::now();
  while (!leave.load()) {
    const Kind& kind = kKinds[random() % std::size(kKinds)];
    const auto channel = static_cast<bass::DWORD>(random() % 16);
    const auto value = static_cast<bass::DWORD>(random() % (kind.highest + 1));
    api.BASS_MIDI_StreamEvent(stream, channel, kind.event, value);
    ++*sent;
    next += std::chrono::milliseconds(1);
    std::this_thread::sleep_until(next);
  }
}

double Percentile(const std::vector<double>& sorted, double part) {
  return sorted[static_cast<std::size_t>(part * static_cast<double>(sorted.size() - 1))];
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fputs("Usage: realtime BANK SONG [SECONDS]\n", stderr);
    return 2;
  }
  const int seconds = argc > 3 ? std::atoi(argv[3]) : 60;
  const auto library = vexolo::AudioLibrary::OpenEngine();
  const bass::Api& api = library->api();
  if (api.BASS_Init(-1, 44100, 0, nullptr, nullptr) == 0) return 2;
  const bass::HSOUNDFONT bank = api.BASS_MIDI_FontInit(argv[1], 0);
  const bass::BASS_MIDI_FONT fonts = {bank, -1, 0};
  api.BASS_MIDI_StreamSetFonts(0, &fonts, 1);
  const bass::HSTREAM stream =
      api.BASS_MIDI_StreamCreateFile(0, argv[2], 0, 0, bass::BASS_MIDI_DECAYEND, 0);
  if (bank == 0 || stream == 0) {
    std::fprintf(stderr, "realtime: %s\n", vexolo::AudioErrorName(api.BASS_ErrorGetCode()).c_str());
    return 2;
  }
  Measured measured;
  measured.block_ms.reserve(static_cast<std::size_t>(seconds + 1) * 200);
  measured.frames.reserve(measured.block_ms.capacity());
  api.BASS_ChannelSetDSP(stream, Measure, &measured, 0);
  std::atomic<bool> leave{false};
  std::uint64_t sent = 0;
  api.BASS_ChannelPlay(stream, 1);
  std::thread sender(SendRandomEvents, std::cref(api), stream, std::cref(leave), &sent);
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  leave.store(true);
  sender.join();
  const std::uint64_t late = library->LateBlocks();
  const bool silent = library->OutputIsSilent();
  api.BASS_Free();
  if (measured.block_ms.empty()) return 2;
  const double block_ms = measured.frames.front() / 44.1;
  std::sort(measured.block_ms.begin(), measured.block_ms.end());
  const double p999 = Percentile(measured.block_ms, 0.999);
  std::printf("%s, %zu blocks of %.2f ms, %llu events sent, %llu late blocks\n",
              silent ? "silent clock" : "sound device", measured.block_ms.size(), block_ms,
              static_cast<unsigned long long>(sent), static_cast<unsigned long long>(late));
  std::printf(
      "processor time a block: median %.2f ms, 99 %% %.2f ms, 99.9 %% %.2f ms, most %.2f ms\n",
      Percentile(measured.block_ms, 0.5), Percentile(measured.block_ms, 0.99), p999,
      measured.block_ms.back());
  return p999 < block_ms / 2 ? 0 : 1;
}
