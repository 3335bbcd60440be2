#include "playlist/play_list_model.h"

#include <algorithm>
#include <utility>

#include "platform/paths.h"

namespace vexolo {
namespace {

std::size_t IndexOf(int place) { return static_cast<std::size_t>(place - 1); }

/// Where the entry at `place` is after those at `a` and `b` have changed places.
int PlaceAfterSwap(int place, int a, int b) { return place == a ? b : place == b ? a : place; }

}  // namespace

std::string PlayListModel::Path(int place) const {
  return Has(place) ? paths_[IndexOf(place)] : std::string();
}

std::string PlayListModel::Line(int place) const {
  if (!Has(place)) return {};
  return std::string(place == playing_ ? kPlayingPrefix : kOtherPrefix) + names_[IndexOf(place)];
}

void PlayListModel::PlayListAdd(const std::string& path) {
  if (path.empty()) return;
  paths_.push_back(path);
  names_.push_back(FileNameOf(path));
  ++revision_;
}

void PlayListModel::PlayListDelete(int place) {
  if (!Has(place)) return;
  paths_.erase(paths_.begin() + (place - 1));
  names_.erase(names_.begin() + (place - 1));
  if (playing_ == place) {
    playing_ = 0;
  } else if (playing_ > place) {
    --playing_;
  }
  if (current_ >= place) --current_;
  ++revision_;
}

void PlayListModel::PlayListSelect(int place) {
  if (place != 0 && !Has(place)) return;
  playing_ = place;
  if (place != 0) current_ = place;
  ++revision_;
}

void PlayListModel::Clear() {
  paths_.clear();
  names_.clear();
  current_ = 0;
  playing_ = 0;
  ++revision_;
}

void PlayListModel::Shuffle(const RandomSource& random) {
  for (int i = 1; i <= count(); ++i) {
    const int drawn = static_cast<int>(count() * random()) + 1;
    const int j = std::clamp(drawn, 1, count());
    std::swap(paths_[IndexOf(i)], paths_[IndexOf(j)]);
    std::swap(names_[IndexOf(i)], names_[IndexOf(j)]);
    current_ = PlaceAfterSwap(current_, i, j);
    playing_ = PlaceAfterSwap(playing_, i, j);
  }
  ++revision_;
}

}  // namespace vexolo
