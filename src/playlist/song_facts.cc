#include "playlist/song_facts.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <unordered_set>

#include "settings/language.h"

namespace vexolo {

SongFactsTable::SongFactsTable(ReadSongFacts read)
    : worker_([read = std::move(read)](const std::string& path, const std::atomic<bool>&) {
        try {
          return Read{path, read(path)};
        } catch (...) {
          return Read{path, {}};  // known to be unreadable, and not asked for again
        }
      }) {}

void SongFactsTable::Want(const std::vector<std::string>& paths) {
  std::unordered_map<std::string, Entry> entries;
  entries.reserve(paths.size());
  wanted_.clear();
  unknown_ = 0;
  for (const std::string& path : paths) {
    const auto [place, is_new] = entries.try_emplace(path);
    if (!is_new) continue;
    wanted_.push_back(path);
    const auto old = entries_.find(path);
    if (old != entries_.end()) place->second = std::move(old->second);
    if (!place->second.known) ++unknown_;
  }
  entries_ = std::move(entries);
  Queue({}, wanted_);
}

void SongFactsTable::Prefer(const std::vector<std::string>& paths) {
  if (reading()) Queue(paths, wanted_);
}

void SongFactsTable::Queue(const std::vector<std::string>& first,
                           const std::vector<std::string>& all) {
  std::deque<std::string> jobs;
  std::unordered_set<std::string_view> queued;
  const auto add = [&](const std::string& path) {
    const auto entry = entries_.find(path);
    if (entry == entries_.end() || entry->second.known) return;
    if (queued.insert(entry->first).second) jobs.push_back(path);
  };
  for (const std::string& path : first) add(path);
  for (const std::string& path : all) add(path);
  worker_.Replace(std::move(jobs));
}

bool SongFactsTable::Collect() {
  bool any = false;
  for (Read& read : worker_.Collect()) {
    const auto place = entries_.find(read.path);
    if (place == entries_.end() || place->second.known) continue;  // gone, or read twice
    place->second = {std::move(read.facts), true};
    --unknown_;
    any = true;
  }
  return any;
}

const SongFacts* SongFactsTable::Find(const std::string& path) const {
  const auto place = entries_.find(path);
  return place == entries_.end() || !place->second.known ? nullptr : &place->second.facts;
}

double SongFactsTable::TotalLength(const std::vector<std::string>& paths) const {
  double total = 0;
  for (const std::string& path : paths) {
    if (const SongFacts* facts = Find(path)) total += facts->length;
  }
  return total;
}

void SongFactsTable::Stop() {
  worker_.Stop();
  unknown_ = 0;
}

std::string FormatLength(double seconds) {
  constexpr double kMost = 1e9;  // thirty years; beyond it a file lies about its length
  const double shown = std::isfinite(seconds) ? std::clamp(seconds, 0.0, kMost) : 0;
  const auto whole = static_cast<std::int64_t>(std::llround(shown));
  const auto hours = static_cast<long long>(whole / 3600);
  const int minutes = static_cast<int>(whole / 60 % 60);
  const int rest = static_cast<int>(whole % 60);
  char text[32];
  if (hours > 0) {
    std::snprintf(text, sizeof text, "%lld:%02d:%02d", hours, minutes, rest);
  } else {
    std::snprintf(text, sizeof text, "%d:%02d", minutes, rest);
  }
  return text;
}

std::string CountText(const CountTexts& texts, int count, double total_length, bool reading) {
  if (count == 0) return BreakLines(texts.none);
  const std::string& pattern = count == 1 ? texts.one : texts.several;
  std::string text =
      FillIn(BreakLines(pattern), {std::to_string(count), FormatLength(total_length)});
  if (reading && !texts.reading.empty()) text += " (" + texts.reading + ")";
  return text;
}

}  // namespace vexolo
