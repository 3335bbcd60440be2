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
  OrderChanged();
}

void PlayListModel::PlayListDelete(const std::vector<int>& places) {
  const std::vector<bool> removed = Chosen(places);
  const auto before_current = removed.begin() + std::clamp(current_, 0, count());
  const auto removed_up_to_current = std::count(removed.begin(), before_current, true);
  std::vector<int> kept;
  for (int place = 1; place <= count(); ++place) {
    if (!removed[IndexOf(place)]) kept.push_back(place);
  }
  if (static_cast<int>(kept.size()) == count()) return;
  // Arrange follows entries; where the current one goes, the place before it takes over.
  const int current = current_ - static_cast<int>(removed_up_to_current);
  Arrange(kept);
  current_ = current;
}

int PlayListModel::PlayListMove(const std::vector<int>& places, int before) {
  const std::vector<bool> moved = Chosen(places);
  const int target = std::clamp(before, 1, count() + 1);
  std::vector<int> order;
  const auto take = [&](int first, int end, bool wanted) {
    for (int place = first; place < end; ++place) {
      if (moved[IndexOf(place)] == wanted) order.push_back(place);
    }
  };
  take(1, target, false);
  const int first_moved = static_cast<int>(order.size()) + 1;
  take(1, count() + 1, true);
  if (first_moved > static_cast<int>(order.size())) return 0;
  take(target, count() + 1, false);
  if (!std::is_sorted(order.begin(), order.end())) Arrange(order);
  return first_moved;
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
  OrderChanged();
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
  OrderChanged();
}

/// By index: whether an entry is among the places.
std::vector<bool> PlayListModel::Chosen(const std::vector<int>& places) const {
  std::vector<bool> chosen(paths_.size());
  for (const int place : places) {
    if (Has(place)) chosen[IndexOf(place)] = true;
  }
  return chosen;
}

/// Brings the entries into a new order, given by their places so far; what is not named goes.
void PlayListModel::Arrange(const std::vector<int>& old_places) {
  std::vector<std::string> paths, names;
  paths.reserve(old_places.size());
  names.reserve(old_places.size());
  const int old_playing = std::exchange(playing_, 0);
  const int old_current = current_;
  for (const int place : old_places) {
    paths.push_back(std::move(paths_[IndexOf(place)]));
    names.push_back(std::move(names_[IndexOf(place)]));
    if (place == old_playing) playing_ = static_cast<int>(paths.size());
    if (place == old_current) current_ = static_cast<int>(paths.size());
  }
  paths_ = std::move(paths);
  names_ = std::move(names);
  OrderChanged();
}

void PlayListModel::OrderChanged() {
  ++revision_;
  ++order_revision_;
}

}  // namespace vexolo
