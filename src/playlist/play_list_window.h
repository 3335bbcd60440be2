/// The window with the list of songs.
#pragma once

#include <QTimer>
#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "playlist/dropped_files.h"
#include "playlist/last_list.h"
#include "playlist/play_list_model.h"
#include "playlist/song_facts.h"
#include "playlist/song_list_widget.h"
#include "widgets/companion_window.h"
#include "widgets/sprite_button.h"

class QLabel;

namespace vexolo {

/// What the window asks of the program. Functions may be empty.
struct PlayListActions {
  std::function<void(int place)> play_selected;  ///< from 1
  std::function<void()> repeat;                  ///< the next repeat mode
};

/// Shows the list, which others may change as well: it looks for changes ten times a second, and
/// at once where Refresh is called. Reading songs and going through folders is done beside the
/// window. Window thread only.
class PlayList : public CompanionWindow {
 public:
  /// `list` must outlive the window; `read_facts` is called on a thread of the window's own.
  PlayList(const WindowContext& context, QWidget* main_window, PlayListModel& list,
           ReadSongFacts read_facts, PlayListActions actions);
  ~PlayList() override;

  // What the buttons do.

  void Action_Plus();
  void Action_Moins();
  void Action_Poubelle();
  void Action_Shuffle();
  void Action_LoadList();
  void Action_SaveList();
  void Action_PlayIt();

  /// The user's choice of songs, by the dialog that Action_Plus opens; remembers the folder. Empty
  /// where nothing is chosen.
  static std::vector<std::string> ChooseSongs(const WindowContext& context);

  /// Adds what has been dropped on a window, as soon as its folders and lists have been gone
  /// through; `added` then hears the place of the last song that came, 0 where none did. Emptying
  /// the list drops what is still on its way.
  void AddDropped(std::vector<std::string> paths, std::function<void(int last_place)> added = {});

  /// Captions from section "PlayList" of the language file in use.
  void LoadLanguage() final;

  /// The window's pictures, `PicSM` 0 to 7, up (0) or down (1); the last one, the repeat button,
  /// has the repeat modes as further states.
  void DrawSM(int index, int state);
  /// All of them, as they have to be.
  void DispMiscButtons();
  /// The repeat button in the face of a mode.
  void DrawRepeat(int mode);

  /// Size and place that the settings keep, else docked under the main window.
  void RestorePlace(QPoint beside) override;

  /// Brings the last list back, behind songs that are there already; to be called once, after the
  /// command line has been dealt with. From then on the list is kept as it changes.
  void RestoreLastList();

  /// Shows what has changed in the list, and takes in what has been read.
  void Refresh();

  /// The program ends: nothing is read any more, and the list is kept.
  void Unload();

  SongListWidget& view() { return view_; }
  /// What stands beside the buttons: how many songs, how long.
  const QString& count_text() const { return count_text_; }
  /// Whether songs are still to be read or dropped files to be gone through.
  bool reading() const { return facts_.reading() || drop_worker_.HasMore(); }

 protected:
  void StoreClosed() override;
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void MakeButtons();
  void ConnectView();
  void ConnectTimers();
  void ListChanged(const std::vector<int>& select, bool reordered);
  void MoveSelected(int before);
  void TakeDropped();
  void TakeFacts();
  void ShowCount();
  void FitCount();
  void ShowRepeatTip();
  void ShowMenu(QPoint at);
  void OpenFolder();
  void SaveSize();
  std::string ListFilterText(const char* key) const;

  PlayListModel& list_;
  const PlayListActions actions_;
  SongFactsTable facts_;
  DropWorker drop_worker_;
  std::deque<std::function<void(int)>> drops_under_way_;
  LastList last_list_;
  SongRows rows_;
  SongListWidget view_;
  std::array<SpriteButton*, 8> PicSM{};
  QLabel* count_;
  QString count_text_;  ///< all of it, whatever fits
  CountTexts count_texts_;
  int repeat_mode_ = 0;
  std::uint64_t shown_revision_ = 0;
  std::uint64_t shown_order_ = 0;
  int shown_playing_ = 0;
  std::pair<int, int> preferred_{0, 0};  ///< places in view when facts were asked for
  QTimer watch_timer_;
  QTimer save_timer_;       ///< of the list
  QTimer save_size_timer_;  ///< a drag resizes a window many times a second
};

}  // namespace vexolo
