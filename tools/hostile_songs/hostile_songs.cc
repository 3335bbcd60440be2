#include "hostile_songs/hostile_songs.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <string_view>
#include <utility>

namespace vexolo {
namespace {

using Bytes = std::string;

constexpr std::size_t kSongs = 200;
constexpr std::uint32_t kLongestDelta = 0x0FFFFFFF;

Bytes Big(std::uint32_t value, int count) {
  Bytes bytes;
  for (int shift = 8 * (count - 1); shift >= 0; shift -= 8) {
    bytes += static_cast<char>(value >> shift);
  }
  return bytes;
}

Bytes Number(std::uint32_t value) {
  Bytes bytes;
  for (int shift = 28; shift > 0; shift -= 7) {
    if (value >> shift != 0) bytes += static_cast<char>(0x80 | (value >> shift & 0x7F));
  }
  return bytes + static_cast<char>(value & 0x7F);
}

Bytes Chunk(std::string_view name, std::string_view content) {
  return Bytes(name) + Big(static_cast<std::uint32_t>(content.size()), 4) + Bytes(content);
}

Bytes Header(std::uint32_t format, std::uint32_t tracks, std::uint32_t division = 120) {
  return Chunk("MThd", Big(format, 2) + Big(tracks, 2) + Big(division, 2));
}

const Bytes kEnd = {'\0', '\xFF', '\x2F', '\0'};

Bytes Track(std::string_view events) { return Chunk("MTrk", Bytes(events) + kEnd); }

/// A song of one track.
Bytes Song(std::string_view events, std::uint32_t division = 120) {
  return Header(1, 1, division) + Track(events);
}

Bytes Repeated(std::size_t count, const std::function<void(std::size_t index, Bytes& to)>& add) {
  Bytes bytes;
  for (std::size_t index = 0; index < count; ++index) add(index, bytes);
  return bytes;
}

Bytes Message(std::uint32_t delta, int status, int first, int second) {
  return Number(delta) + static_cast<char>(status) + static_cast<char>(first) +
         static_cast<char>(second);
}

Bytes Meta(std::uint32_t delta, int type, std::string_view data) {
  return Number(delta) + '\xFF' + static_cast<char>(type) +
         Number(static_cast<std::uint32_t>(data.size())) + Bytes(data);
}

Bytes Tempo(std::uint32_t delta, std::uint32_t microseconds) {
  return Meta(delta, 0x51, Big(microseconds, 3));
}

/// Eight notes with a syllable each: one second.
Bytes Melody() {
  return Repeated(8, [](std::size_t index, Bytes& to) {
    to += Meta(0, 0x05, index % 4 == 0 ? "/la " : "la ");
    to += Message(0, 0x93, 60 + static_cast<int>(index), 100);
    to += Message(30, 0x83, 60 + static_cast<int>(index), 0);
  });
}

Bytes Titled(std::string_view title, std::string_view artist) {
  Bytes events;
  if (!title.empty()) events += Meta(0, 0x05, "@T" + Bytes(title));
  if (!artist.empty()) events += Meta(0, 0x05, "@T" + Bytes(artist));
  return Song(events + Melody());
}

class Collection {
 public:
  void Begin(std::string family) { family_ = std::move(family); }
  void Add(std::string name, std::function<Bytes()> bytes) {
    songs_.push_back({std::move(name), family_, std::move(bytes)});
  }
  std::size_t size() const { return songs_.size(); }
  std::vector<HostileSong> Take() { return std::move(songs_); }

 private:
  std::string family_;
  std::vector<HostileSong> songs_;
};

// ---- Running status

void AddRunningStatus(Collection& songs) {
  songs.Begin("RunningStatus");
  const auto running = [](std::size_t count, int status, char delta) {
    return [=] {
      Bytes events = Message(0, status, 60, 100);
      events += Repeated(count, [=](std::size_t index, Bytes& to) {
        to += delta;
        to += static_cast<char>(index / 2 % 128);
        to += static_cast<char>(index % 2 == 0 ? 100 : 0);
      });
      return Song(events);
    };
  };
  songs.Add("running-notes.mid", running(3'000'000, 0x90, 1));
  songs.Add("running-notes-at-once.mid", running(300'000, 0x90, 0));
  songs.Add("running-pressure.mid", running(1'000'000, 0xA0, 0));
  songs.Add("running-bend.mid", running(1'000'000, 0xE0, 0));
  songs.Add("running-without-status.mid", [] {
    return Song(Bytes{'\0', '\x40', '\x40'} + Melody());
  });
  songs.Add("running-over-marks.mid", [] {
    return Song(Message(0, 0x90, 60, 100) + Repeated(200'000, [](std::size_t, Bytes& to) {
                  to += Meta(0, 0x05, "a");
                  to += Bytes{'\1', '\x3C', '\x64', '\0', '\xF8', '\1', '\x3C', '\0'};
                }));
  });
}

// ---- Tracks

void AddTracks(Collection& songs) {
  songs.Begin("Tracks");
  const auto many = [](std::size_t count, std::uint32_t told, const Bytes& events) {
    return [=] {
      const Bytes track = Track(events);
      return Header(1, told) + Repeated(count, [&](std::size_t, Bytes& to) { to += track; });
    };
  };
  const Bytes full = Meta(0, 0x03, "A track of its own") + Meta(0, 0x05, "la") +
                     Message(0, 0x90, 60, 100) + Message(10, 0x80, 60, 0);
  songs.Add("65535-empty-tracks.mid", many(65535, 65535, {}));
  songs.Add("65535-full-tracks.mid", many(65535, 65535, full));
  songs.Add("70000-tracks.mid", many(70000, 65535, full));
  songs.Add("tracks-that-are-not-told-of.mid", many(65535, 1, full));
  songs.Add("tracks-that-are-not-there.mid", many(1, 65535, full));
  songs.Add("tracks-within-tracks.mid", [] {
    Bytes inner = Melody();
    for (int depth = 0; depth < 2000; ++depth) inner.insert(0, "MTrk" + Big(0x7FFFFFFF, 4));
    return Header(1, 2000) + inner;
  });
  songs.Add("tracks-that-lie.mid", [] {
    return Header(1, 9) + Repeated(20'000, [](std::size_t index, Bytes& to) {
             to += "MTrk" + Big(static_cast<std::uint32_t>(index * 2654435761u), 4) + "abc";
           });
  });
}

// ---- Ten million events

void AddTenMillion(Collection& songs) {
  songs.Begin("TenMillion");
  constexpr std::size_t kMany = 10'000'000;
  const auto many = [](int status, char delta) {
    return [=] {
      Bytes events = Message(0, status, 1, 1);
      events.reserve(3 * kMany + 100);
      for (std::size_t index = 0; index < kMany; ++index) {
        events += delta;
        events += static_cast<char>(index / 2 % 128);
        if (status < 0xC0) events += static_cast<char>(index % 2 == 0 ? 100 : 0);
      }
      return Song(events);
    };
  };
  songs.Add("notes.mid", many(0x90, 1));
  songs.Add("controllers.mid", many(0xB0, 1));
  songs.Add("controllers-at-once.mid", many(0xB0, 0));
  songs.Add("programs.mid", many(0xC0, 1));
  songs.Add("in-two-tracks.mid", [] {
    const Bytes half = Repeated(kMany / 2, [](std::size_t index, Bytes& to) {
      to += Bytes{'\1', static_cast<char>(index % 128), static_cast<char>(index % 2 == 0 ? 1 : 0)};
    });
    return Header(1, 2) + Track(Message(0, 0x90, 60, 1) + half) +
           Track(Message(1, 0x91, 60, 1) + half);
  });
  songs.Add("with-words.mid", [] {
    Bytes events = Repeated(300, [](std::size_t, Bytes& to) { to += Meta(1, 0x05, "la "); });
    events += Message(0, 0x90, 60, 1);
    return Song(events + Repeated(kMany, [](std::size_t index, Bytes& to) {
                  to += Bytes{'\1', static_cast<char>(index % 128), '\x40'};
                }));
  });
}

// ---- Notes upon notes

void AddNotes(Collection& songs) {
  songs.Begin("Notes");
  const auto keys = [](int times, std::uint32_t delta, bool ends) {
    return [=] {
      Bytes events;
      for (int time = 0; time < times; ++time) {
        for (int channel = 0; channel < 16; ++channel) {
          for (int key = 0; key < 128; ++key) events += Message(0, 0x90 | channel, key, 127);
        }
        events += Message(delta, ends ? 0x80 : 0x90, 0, 1);
      }
      return Song(events);
    };
  };
  songs.Add("every-key-of-every-channel.mid", keys(1, 120, false));
  songs.Add("every-key-at-every-tick.mid", keys(50, 1, false));
  songs.Add("every-key-at-once.mid", keys(20, 0, false));
  songs.Add("every-key-for-ever.mid", keys(2, kLongestDelta, true));
  songs.Add("one-key.mid", [] {
    return Song(Repeated(200'000, [](std::size_t, Bytes& to) { to += Message(0, 0x90, 60, 100); }));
  });
  songs.Add("ends-without-notes.mid", [] {
    return Song(Repeated(500'000, [](std::size_t index, Bytes& to) {
      to += Message(0, 0x80, static_cast<int>(index % 128), 64);
    }));
  });
  songs.Add("held-by-pedals.mid", [] {
    Bytes events;
    for (int channel = 0; channel < 16; ++channel) {
      for (const int pedal : {64, 66, 69}) events += Message(0, 0xB0 | channel, pedal, 127);
    }
    return Song(
        events + Repeated(30'000, [](std::size_t index, Bytes& to) {
          to += Message(0, 0x90 | static_cast<int>(index % 16), static_cast<int>(index % 128), 127);
          to += Message(1, 0x80 | static_cast<int>(index % 16), static_cast<int>(index % 128), 0);
        }));
  });
  songs.Add("sound-off-and-on.mid", [] {
    return Song(Repeated(20'000, [](std::size_t index, Bytes& to) {
      to += Message(0, 0x90, static_cast<int>(index % 128), 127);
      to += Message(0, 0xB0, 120 + static_cast<int>(index % 8), 0);
    }));
  });
}

// ---- Tempo

void AddTempos(Collection& songs) {
  songs.Begin("Tempos");
  const auto every_tick = [](std::size_t ticks, auto tempo, std::uint32_t division) {
    return [=] {
      return Song(Repeated(ticks,
                           [&](std::size_t index, Bytes& to) {
                             to += Tempo(1, static_cast<std::uint32_t>(tempo(index)));
                           }) +
                      Melody(),
                  division);
    };
  };
  constexpr std::size_t kTicks = 1'000'000;
  songs.Add("every-tick.mid",
            every_tick(
                kTicks, [](std::size_t index) { return 300'000 + index % 400'000; }, 960));
  songs.Add("every-tick-fast.mid", every_tick(
                                       kTicks, [](std::size_t) { return 1u; }, 32767));
  songs.Add("every-tick-slow.mid", every_tick(
                                       100'000, [](std::size_t) { return 0xFFFFFFu; }, 1));
  songs.Add("every-tick-fast-and-slow.mid",
            every_tick(
                100'000, [](std::size_t index) { return index % 2 == 0 ? 1u : 0xFFFFFFu; }, 960));
  songs.Add("tempo-zero.mid", every_tick(
                                  1000, [](std::size_t) { return 0u; }, 120));
  songs.Add("tempo-in-frames.mid", every_tick(
                                       100'000, [](std::size_t) { return 500'000u; }, 0xE728));
  songs.Add("ten-million-tempos.mid",
            every_tick(
                10'000'000, [](std::size_t index) { return 400'000 + index % 7; }, 960));
  songs.Add("tempos-at-once.mid", [] {
    return Song(
        Repeated(kTicks, [](std::size_t index,
                            Bytes& to) { to += Tempo(0, static_cast<std::uint32_t>(index + 1)); }) +
        Melody());
  });
}

// ---- Marks

void AddMarks(Collection& songs) {
  songs.Begin("Marks");
  const auto marks = [](std::size_t count, int type, const Bytes& text, std::uint32_t delta) {
    return [=] {
      return Song(Repeated(count, [&](std::size_t, Bytes& to) { to += Meta(delta, type, text); }) +
                  Melody());
    };
  };
  constexpr std::size_t kBig = 60 * 1024;
  songs.Add("big-lyrics.kar", marks(200, 0x05, Bytes(kBig, 'a'), 10));
  songs.Add("big-texts.kar", marks(200, 0x01, Bytes(kBig, 'a'), 10));
  songs.Add("big-blanks.kar", marks(200, 0x05, Bytes(kBig, ' '), 10));
  songs.Add("big-line-breaks.kar", marks(100, 0x05, Bytes(kBig, '\n'), 10));
  songs.Add("big-nothing.kar", marks(100, 0x05, Bytes(kBig, '\0'), 10));
  songs.Add("big-names.kar", marks(200, 0x03, Bytes(kBig, 'n'), 0));
  songs.Add("many-lyrics.kar", marks(1'000'000, 0x05, "la", 1));
  songs.Add("many-texts.kar", marks(1'000'000, 0x01, "\\la", 1));
  songs.Add("many-at-once.kar", marks(300'000, 0x05, "la ", 0));
  songs.Add("many-titles.kar", marks(100'000, 0x05, "@Tagain", 0));
  songs.Add("many-lines.kar", marks(300'000, 0x05, "/", 1));
  songs.Add("marks-in-two-ways.kar", [] {
    return Song(Repeated(100'000, [](std::size_t index, Bytes& to) {
      to += Meta(1, index % 2 == 0 ? 0x01 : 0x05, "@L;/\\\r\n");
    }));
  });
}

// ---- System exclusive messages

void AddSystemExclusive(Collection& songs) {
  songs.Begin("SystemExclusive");
  const auto message = [](std::string_view data) {
    return Bytes{'\0', '\xF0'} + Number(static_cast<std::uint32_t>(data.size())) + Bytes(data);
  };
  const auto resets = [=](std::string_view data) {
    return [=] {
      return Song(Repeated(50'000, [&](std::size_t, Bytes& to) { to += message(data); }) +
                  Melody());
    };
  };
  songs.Add("gm-resets.mid", resets("\x7E\x7F\x09\x01\xF7"));
  songs.Add("gs-resets.mid", resets({"\x41\x10\x42\x12\x40\x00\x7F\x00\x41\xF7", 10}));
  songs.Add("xg-resets.mid", resets({"\x43\x10\x4C\x00\x00\x7E\x00\xF7", 8}));
  songs.Add("big-message.mid", [=] { return Song(message(Bytes(2 << 20, '\x55')) + Melody()); });
  songs.Add("message-without-end.mid", [] {
    return Song(Bytes{'\0', '\xF0'} + Number(kLongestDelta) + "abc");
  });
  songs.Add("packets.mid", [] {
    return Song(Repeated(300'000,
                         [](std::size_t, Bytes& to) {
                           to += Bytes{'\0', '\xF7', '\2', '\x7E', '\xF7'};
                         }) +
                Melody());
  });
}

// ---- Headers and lengths

void AddForms(Collection& songs) {
  songs.Begin("Forms");
  for (const std::uint32_t division : {0u, 1u, 0x7FFFu, 0x8000u, 0xE700u, 0xE801u, 0xFFFFu}) {
    songs.Add("division-" + std::to_string(division) + ".mid",
              [=] { return Song(Melody(), division); });
  }
  for (const std::uint32_t format : {2u, 3u, 0xFFFFu}) {
    songs.Add("format-" + std::to_string(format) + ".mid",
              [=] { return Header(format, 1) + Track(Melody()); });
  }
  songs.Add("empty.mid", [] { return Bytes(); });
  songs.Add("header-alone.mid", [] { return Header(1, 1); });
  songs.Add("half-a-header.mid", [] { return Header(1, 1).substr(0, 9); });
  songs.Add("header-of-4-gigabytes.mid",
            [] { return "MThd" + Big(0xFFFFFFFF, 4) + Header(1, 1).substr(8) + Track(Melody()); });
  songs.Add("track-of-4-gigabytes.mid",
            [] { return Header(1, 1) + "MTrk" + Big(0xFFFFFFFF, 4) + Melody(); });
  songs.Add("text-of-256-megabytes.mid", [] {
    return Song(Melody() + Bytes{'\0', '\xFF', '\5'} + Number(kLongestDelta) + "la");
  });
  songs.Add("number-without-end.mid", [] { return Song(Melody() + Bytes(100'000, '\x81')); });
  songs.Add("years.mid", [] {
    return Song(
        Repeated(8, [](std::size_t, Bytes& to) { to += Message(kLongestDelta, 0x90, 60, 1); }), 1);
  });
  songs.Add("junk-before.mid", [] { return Bytes(1024, 'x') + Song(Melody()); });
  songs.Add("too-much-junk-before.mid", [] { return Bytes(1 << 20, 'x') + Song(Melody()); });
  songs.Add("wrapped.rmi", [] { return Chunk("RIFF", "RMID") + "data" + Song(Melody()); });
  songs.Add("wrapped-with-lies.rmi",
            [] { return "RIFF\xFF\xFF\xFF\xFFRMIDdata\xFF\xFF\xFF\xFF" + Song(Melody()); });
  songs.Add("zeros.mid", [] { return Bytes(1 << 20, '\0'); });
  songs.Add("ones.mid", [] { return Header(1, 1) + Track(Bytes(1 << 20, '\xFF')); });
  songs.Add("text-file.mid", [] { return Bytes("#!/bin/sh\necho this is no song\n"); });
}

// ---- Titles and names

const std::array<std::string_view, 30> kNastyTexts = {
    "--out",
    "-o",
    "-",
    "--",
    ".",
    "..",
    "...",
    "../../escape",
    "..\\..\\escape",
    "/tmp/../escape",
    "~/escape",
    "a/b/c",
    "C:\\escape",
    "\"quotes\"",
    "\"",
    "'single'",
    "back\\",
    "line\nbreak",
    "carriage\rreturn",
    "tab\tbell\a\x1B[31m",
    "\x7F\x80\x9F\xA0",
    "%A %T %s %n %d",
    "$(touch escape) `touch escape`",
    "; touch escape & | > escape",
    "* ? [a-z] {a,b}",
    "CON",
    " blank ",
    "\xE2\x80\xAE\xC2\x85\xEF\xBB\xBF",
    "\x82\xB1\x82\xF1\x82\xC9\xFF\xFE",
    "@T@T",
};

/// File names may hold all but "/" and NUL.
std::string FileName(std::string_view text) {
  std::string name(text);
  for (char& character : name) {
    if (character == '/') character = '_';
  }
  return name;
}

void AddTitles(Collection& songs) {
  songs.Begin("Titles");
  for (const std::string_view text : kNastyTexts) {
    const std::string number = std::to_string(songs.size());
    songs.Add("title-" + number + ".kar", [=] { return Titled(text, "Artist"); });
    songs.Add("artist-" + number + ".kar", [=] { return Titled(text, text); });
  }
  songs.Add("title-of-300.kar", [] { return Titled(Bytes(300, 't'), "Artist"); });
  songs.Add("title-of-300-accents.kar", [] { return Titled(Bytes(300, '\xE9'), "Artist"); });
  songs.Add("title-of-60-kilobytes.kar", [] { return Titled(Bytes(60 * 1024, 't'), "Artist"); });
  songs.Add("artist-of-60-kilobytes.kar", [] { return Titled("Title", Bytes(60 * 1024, 'a')); });
  songs.Add("title-of-nothing.kar", [] { return Titled(Bytes(10, '\0'), Bytes(10, '\0')); });
}

void AddNames(Collection& songs) {
  songs.Begin("Names");
  for (const std::string_view text : kNastyTexts) {
    songs.Add(FileName(text) + ".mid", [] { return Song(Melody()); });
  }
}

// ---- What chance makes of a good song

Bytes Mutated(unsigned seed) {
  std::mt19937 random(seed);
  Bytes bytes =
      Header(1, 2) + Track(Meta(0, 0x03, "Words") + Melody()) + Track(Tempo(0, 500'000) + Melody());
  const auto below = [&](std::size_t end) { return random() % std::max<std::size_t>(end, 1); };
  for (std::size_t change = 1 + below(20); change > 0; --change) {
    const std::size_t at = below(bytes.size());
    switch (below(5)) {
      case 0:
        bytes[at] = static_cast<char>(random());
        break;
      case 1:
        bytes.erase(at, below(20));
        break;
      case 2:
        bytes.insert(at, Bytes(below(20), static_cast<char>(random())));
        break;
      case 3:
        bytes.insert(at, bytes.substr(below(bytes.size()), below(60)));
        break;
      default:
        bytes[at] = static_cast<char>(bytes[at] ^ (1 << below(8)));
        break;
    }
    if (bytes.empty()) bytes = "M";
  }
  return bytes;
}

void AddMutations(Collection& songs) {
  songs.Begin("Mutations");
  for (unsigned seed = 1; songs.size() < kSongs; ++seed) {
    songs.Add("mutation-" + std::to_string(seed) + ".mid", [=] { return Mutated(seed); });
  }
}

}  // namespace

std::vector<HostileSong> HostileSongs() {
  Collection songs;
  AddRunningStatus(songs);
  AddTracks(songs);
  AddTenMillion(songs);
  AddNotes(songs);
  AddTempos(songs);
  AddMarks(songs);
  AddSystemExclusive(songs);
  AddForms(songs);
  AddTitles(songs);
  AddNames(songs);
  AddMutations(songs);
  return songs.Take();
}

}  // namespace vexolo
