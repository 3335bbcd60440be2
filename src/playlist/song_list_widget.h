/// The list of songs as it is shown: rows for the toolkit, and their view.
#pragma once

#include <QAbstractTableModel>
#include <QString>
#include <QTreeView>
#include <array>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "playlist/play_list_model.h"
#include "playlist/song_facts.h"

namespace vexolo {

/// Shows a PlayListModel and the facts of its songs to the toolkit. The list may change behind its
/// back: Sync tells the toolkit. Window thread only.
class SongRows : public QAbstractTableModel {
 public:
  enum Column { kName, kArtist, kLength, kColumns };

  /// Both must outlive this object.
  SongRows(const PlayListModel& list, const SongFactsTable& facts);

  /// The list has changed. Rows that were added at its end come in as such; where rows have gone,
  /// or `reordered`, the view begins anew and forgets what was selected.
  void Sync(bool reordered);

  /// The same rows say something else: another song plays, or facts have come.
  void Repaint();

  /// Headings by column.
  void SetHeadings(const std::array<QString, kColumns>& headings);

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }
  QStringList mimeTypes() const override;
  QMimeData* mimeData(const QModelIndexList& indexes) const override;
  /// Typed letters look for names, without the prefix that is shown before them.
  QModelIndexList match(const QModelIndex& start, int role, const QVariant& value, int hits,
                        Qt::MatchFlags flags) const override;

 private:
  QString Text(int place, int column) const;
  QString ToolTip(int place) const;

  const PlayListModel& list_;
  const SongFactsTable& facts_;
  int rows_ = 0;  ///< that the toolkit knows of
  std::array<QString, kColumns> headings_;
};

/// What is done to the list.
struct SongListActions {
  std::function<void()> play;    ///< Return or a double click: the current entry
  std::function<void()> remove;  ///< Delete: the selected entries
  /// The selected entries are dropped before the entry at this place.
  std::function<void(int before)> move;
  std::function<void(std::vector<std::string> paths)> drop_files;
  std::function<void(QPoint at)> context_menu;  ///< on the screen
};

/// Scrolls through any number of rows, selects several, drags them about. Places are counted from
/// 1. Window thread only.
class SongListWidget : public QTreeView {
 public:
  SongListWidget(SongRows& rows, QWidget* parent);

  SongListActions actions;

  /// In ascending order.
  std::vector<int> SelectedPlaces() const;
  /// Selects these and makes the first one the current row; in view where `scroll`.
  void SelectPlaces(const std::vector<int>& places, bool scroll);
  /// Of the current row, where it is selected; else of the first selected one; 0 = none.
  int PlaceToPlay() const;
  void ShowPlace(int place);
  /// First and last place in view; 0 and 0 where there is none.
  std::pair<int, int> PlacesInView() const;

  /// Written over the empty list.
  void SetEmptyText(const QString& text);

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void startDrag(Qt::DropActions actions) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dragLeaveEvent(QDragLeaveEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void drawRow(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  void MoveSelected(int by);
  int PlaceUnder(QPoint at) const;
  void DrawDropLine(QPainter& painter);
  void EndDrag();

  SongRows& rows_;
  QString empty_text_;
  int drop_before_ = 0;  ///< place over which entries are dragged; 0 = none are
};

}  // namespace vexolo
