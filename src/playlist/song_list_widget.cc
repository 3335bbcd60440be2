#include "playlist/song_list_widget.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDrag>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QStyledItemDelegate>
#include <algorithm>
#include <utility>

#include "platform/paths.h"
#include "widgets/dropped_data.h"
#include "widgets/window_context.h"

namespace vexolo {
namespace {

constexpr const char* kEntriesType = "application/x-vexolo-entries";

constexpr QColor kGlass(0x13, 0x0d, 0x06);
constexpr QColor kGlassLine(0x1a, 0x13, 0x0a);
constexpr QColor kHeading(0x1d, 0x15, 0x0b);
constexpr QColor kHeadingLine(0x3f, 0x2f, 0x14);
constexpr QColor kInk(0xd9, 0xcf, 0xbd);
constexpr QColor kDimInk(0x9a, 0x8d, 0x76);
constexpr QColor kAmber(0xff, 0xb2, 0x33);
constexpr QColor kSelected(0x57, 0x3d, 0x11);
constexpr QColor kSelectedAside(0x36, 0x2a, 0x16);
constexpr QColor kSelectedInk(0xff, 0xf4, 0xdf);
constexpr QColor kFocusLine(0xff, 0xbe, 0x5c, 0x90);
constexpr int kRowPadding = 7;
constexpr double kArtistShare = 0.36;
constexpr int kLengthPadding = 26;

/// Marks drags of this very program; another one that runs beside it has other entries.
QByteArray OwnEntries() { return QByteArray::number(QCoreApplication::applicationPid()); }

bool HasOwnEntries(const QMimeData& data) { return data.data(kEntriesType) == OwnEntries(); }

QPalette GlassPalette(QPalette palette) {
  palette.setColor(QPalette::Base, kGlass);
  palette.setColor(QPalette::AlternateBase, kGlassLine);
  palette.setColor(QPalette::Text, kInk);
  palette.setColor(QPalette::Highlight, kSelected);
  palette.setColor(QPalette::Inactive, QPalette::Highlight, kSelectedAside);
  palette.setColor(QPalette::HighlightedText, kSelectedInk);
  palette.setColor(QPalette::PlaceholderText, kDimInk);
  return palette;
}

/// Rows of the same height, with the prefix of a name in a column of its own: blanks are not as
/// wide as an arrow, and names have to line up.
class RowDelegate : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
    const QSize size = QStyledItemDelegate::sizeHint(option, index);
    return {size.width(), option.fontMetrics.height() + kRowPadding};
  }

  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override {
    QStyleOptionViewItem cell = Prepared(option, index);
    initStyleOption(&cell, index);
    const QString text = std::exchange(cell.text, QString());
    QStyle* style = cell.widget ? cell.widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &cell, painter, cell.widget);
    painter->save();
    painter->setFont(cell.font);
    painter->setPen(InkOf(cell));
    const int margin = TextMargin(cell.widget);
    QRect place = cell.rect.adjusted(margin, 0, -margin, 0);
    QString shown = text;
    if (index.column() == SongRows::kName) {
      const auto prefix = static_cast<qsizetype>(
          text.startsWith(Q(kPlayingPrefix)) ? kPlayingPrefix.size() : kOtherPrefix.size());
      painter->drawText(place, Qt::AlignVCenter | Qt::TextSingleLine, text.left(prefix));
      place.setLeft(place.left() + PrefixWidth(cell.fontMetrics));
      shown = text.mid(prefix);
    }
    painter->drawText(place, static_cast<int>(cell.displayAlignment) | Qt::TextSingleLine,
                      cell.fontMetrics.elidedText(shown, Qt::ElideRight, place.width()));
    painter->restore();
  }

  /// Of a cell, between its edge and its text.
  static int TextMargin(const QWidget* widget) {
    const QStyle* style = widget ? widget->style() : QApplication::style();
    return style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, widget) + 1;
  }
  static int PrefixWidth(const QFontMetrics& metrics) {
    return metrics.horizontalAdvance(Q(kPlayingPrefix));
  }

 private:
  /// The playing entry keeps its amber where it is selected.
  static QStyleOptionViewItem Prepared(const QStyleOptionViewItem& option,
                                       const QModelIndex& index) {
    QStyleOptionViewItem prepared = option;
    if (index.data(Qt::ForegroundRole).value<QBrush>().color() == kAmber) {
      prepared.palette.setColor(QPalette::HighlightedText, kAmber);
    }
    prepared.state.setFlag(QStyle::State_HasFocus, false);  // the row is one, its cells are not
    return prepared;
  }

  static QColor InkOf(const QStyleOptionViewItem& row) {
    const bool selected = row.state.testFlag(QStyle::State_Selected);
    return row.palette.color(selected ? QPalette::HighlightedText : QPalette::Text);
  }
};

/// The headings, that of the names above the names themselves.
class Headings : public QHeaderView {
 public:
  explicit Headings(QWidget* parent) : QHeaderView(Qt::Horizontal, parent) {
    setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  }

 protected:
  void paintSection(QPainter* painter, const QRect& rect, int section) const override {
    if (section != SongRows::kName) return QHeaderView::paintSection(painter, rect, section);
    painter->fillRect(rect, kHeading);
    painter->fillRect(QRect(rect.bottomLeft(), QSize(rect.width(), 1)), kHeadingLine);
    const int indent = RowDelegate::PrefixWidth(fontMetrics());
    QHeaderView::paintSection(painter, rect.adjusted(indent, 0, 0, 0), section);
  }
};

}  // namespace

// ---- Rows

SongRows::SongRows(const PlayListModel& list, const SongFactsTable& facts)
    : list_(list), facts_(facts) {
  rows_ = list.count();
}

void SongRows::Sync(bool reordered) {
  const int count = list_.count();
  if (reordered || count < rows_) {
    beginResetModel();
    rows_ = count;
    endResetModel();
    return;
  }
  if (count > rows_) {
    beginInsertRows({}, rows_, count - 1);
    rows_ = count;
    endInsertRows();
  }
  Repaint();
}

void SongRows::Repaint() {
  if (rows_ > 0) emit dataChanged(index(0, 0), index(rows_ - 1, kColumns - 1));
}

void SongRows::SetHeadings(const std::array<QString, kColumns>& headings) {
  headings_ = headings;
  emit headerDataChanged(Qt::Horizontal, 0, kColumns - 1);
}

int SongRows::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : rows_; }

int SongRows::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : int{kColumns};
}

QVariant SongRows::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const int place = index.row() + 1;
  switch (role) {
    case Qt::DisplayRole:
      return Text(place, index.column());
    case Qt::AccessibleTextRole:
      return Text(place, index.column()).trimmed();
    case Qt::ToolTipRole:
      return ToolTip(place);
    case Qt::ForegroundRole:
      if (place == list_.playing()) return QBrush(kAmber);
      return index.column() == kName ? QVariant() : QBrush(kDimInk);
    case Qt::TextAlignmentRole:
      return QVariant::fromValue(Qt::Alignment(
          Qt::AlignVCenter | (index.column() == kLength ? Qt::AlignRight : Qt::AlignLeft)));
    default:
      return {};
  }
}

QString SongRows::Text(int place, int column) const {
  if (column == kName) return Q(list_.Line(place));
  const SongFacts* facts = facts_.Find(list_.Path(place));
  if (facts == nullptr) return {};
  if (column == kArtist) return Q(facts->artist);
  return facts->length > 0 ? Q(FormatLength(facts->length)) : QStringLiteral("–");
}

QString SongRows::ToolTip(int place) const {
  const std::string path = list_.Path(place);
  QStringList lines;
  if (const SongFacts* facts = facts_.Find(path)) {
    for (const std::string& text : {facts->title, facts->artist}) {
      if (!text.empty()) lines << Q(text);
    }
  }
  lines << Q(path);
  return "<qt>" + lines.join('\n').toHtmlEscaped().replace("\n", "<br>") + "</qt>";
}

QVariant SongRows::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || section < 0 || section >= kColumns) return {};
  if (role == Qt::DisplayRole) return headings_[static_cast<std::size_t>(section)];
  if (role == Qt::TextAlignmentRole) {
    const auto side = section == kLength ? Qt::AlignRight : Qt::AlignLeft;
    return QVariant::fromValue(Qt::Alignment(Qt::AlignVCenter | side));
  }
  return {};
}

Qt::ItemFlags SongRows::flags(const QModelIndex& index) const {
  // Nothing is dropped on an entry, only between two.
  if (!index.isValid()) return Qt::ItemIsDropEnabled;
  return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled |
         Qt::ItemNeverHasChildren;
}

QStringList SongRows::mimeTypes() const { return {kEntriesType}; }

QMimeData* SongRows::mimeData(const QModelIndexList&) const {
  auto* data = new QMimeData;  // the drag's, as the toolkit has it
  data->setData(kEntriesType, OwnEntries());
  return data;
}

QModelIndexList SongRows::match(const QModelIndex& start, int role, const QVariant& value, int hits,
                                Qt::MatchFlags flags) const {
  if (role != Qt::DisplayRole) {
    return QAbstractTableModel::match(start, role, value, hits, flags);
  }
  const QString wanted = value.toString();
  QModelIndexList found;
  for (int i = 0; i < rows_ && (hits < 0 || found.size() < hits); ++i) {
    const int row = (start.row() + i) % rows_;
    const QString name = Q(FileNameOf(list_.Path(row + 1)));
    if (name.startsWith(wanted, Qt::CaseInsensitive)) found << index(row, start.column());
  }
  return found;
}

// ---- View

SongListWidget::SongListWidget(SongRows& rows, QWidget* parent) : QTreeView(parent), rows_(rows) {
  setHeader(new Headings(this));
  setModel(&rows);
  setItemDelegate(new RowDelegate(this));
  setPalette(GlassPalette(palette()));
  setFrameShape(QFrame::NoFrame);
  setRootIsDecorated(false);
  setItemsExpandable(false);
  setUniformRowHeights(true);
  setAlternatingRowColors(true);
  setSelectionMode(QAbstractItemView::ExtendedSelection);
  setSelectionBehavior(QAbstractItemView::SelectRows);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
  setDragEnabled(true);
  setAcceptDrops(true);
  setDropIndicatorShown(false);  // it would mark one cell: a line over the whole row is drawn
  setDragDropMode(QAbstractItemView::DragDrop);
  setDefaultDropAction(Qt::MoveAction);
  // Written on the glass as well; the toolkit would put a row of buttons there.
  header()->setStyleSheet(QString("QHeaderView { background: %1; }"
                                  "QHeaderView::section { background: %2; color: %3; border: none;"
                                  " border-bottom: 1px solid %4; padding: 3px %5px; }")
                              .arg(kGlass.name(), kHeading.name(), kDimInk.name(),
                                   kHeadingLine.name(),
                                   QString::number(RowDelegate::TextMargin(this))));
  header()->setStretchLastSection(false);
  header()->setSectionsMovable(false);
  header()->setHighlightSections(false);
  header()->setMinimumSectionSize(20);
  header()->setSectionResizeMode(QHeaderView::Fixed);
  header()->setSectionResizeMode(SongRows::kName, QHeaderView::Stretch);
  QObject::connect(this, &QAbstractItemView::doubleClicked, this, [this] {
    if (actions.play) actions.play();
  });
}

std::vector<int> SongListWidget::SelectedPlaces() const {
  std::vector<int> places;
  for (const QItemSelectionRange& range : selectionModel()->selection()) {
    for (int row = range.top(); row <= range.bottom(); ++row) places.push_back(row + 1);
  }
  std::sort(places.begin(), places.end());
  places.erase(std::unique(places.begin(), places.end()), places.end());
  return places;
}

void SongListWidget::SelectPlaces(const std::vector<int>& places, bool scroll) {
  QItemSelection selection;
  for (std::size_t i = 0; i < places.size();) {
    std::size_t end = i + 1;  // of a run of neighbours
    while (end < places.size() && places[end] == places[end - 1] + 1) ++end;
    selection.append(
        {rows_.index(places[i] - 1, 0), rows_.index(places[end - 1] - 1, SongRows::kColumns - 1)});
    i = end;
  }
  selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
  if (places.empty()) return;
  const QModelIndex first = rows_.index(places.front() - 1, 0);
  selectionModel()->setCurrentIndex(first, QItemSelectionModel::NoUpdate);
  if (scroll) scrollTo(first);
}

int SongListWidget::PlaceToPlay() const {
  const QModelIndex current = currentIndex();
  if (current.isValid() && selectionModel()->isSelected(current)) return current.row() + 1;
  const std::vector<int> places = SelectedPlaces();
  return places.empty() ? 0 : places.front();
}

void SongListWidget::ShowPlace(int place) { scrollTo(rows_.index(place - 1, 0)); }

std::pair<int, int> SongListWidget::PlacesInView() const {
  const QModelIndex top = indexAt({1, 1});
  if (!top.isValid()) return {0, 0};
  const QModelIndex bottom = indexAt({1, viewport()->height() - 1});
  return {top.row() + 1, bottom.isValid() ? bottom.row() + 1 : rows_.rowCount()};
}

void SongListWidget::SetEmptyText(const QString& text) {
  empty_text_ = text;
  viewport()->update();
}

void SongListWidget::keyPressEvent(QKeyEvent* event) {
  const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
  const int key = event->key();
  if (plain && (key == Qt::Key_Return || key == Qt::Key_Enter)) {
    if (actions.play) actions.play();
  } else if (plain && (key == Qt::Key_Delete || key == Qt::Key_Backspace)) {
    if (actions.remove) actions.remove();
  } else if (event->modifiers() == Qt::AltModifier && (key == Qt::Key_Up || key == Qt::Key_Down)) {
    MoveSelected(key == Qt::Key_Up ? -1 : 1);
  } else if (key == Qt::Key_Space) {
    event->ignore();  // it plays and stops, here as in every window
  } else {
    QTreeView::keyPressEvent(event);
  }
}

void SongListWidget::MoveSelected(int by) {
  const std::vector<int> places = SelectedPlaces();
  if (places.empty() || !actions.move) return;
  const int before = by < 0 ? places.front() - 1 : places.back() + 2;
  if (before >= 1 && before <= rows_.rowCount() + 1) actions.move(before);
}

void SongListWidget::contextMenuEvent(QContextMenuEvent* event) {
  QPoint at = event->globalPos();
  if (event->reason() == QContextMenuEvent::Keyboard && currentIndex().isValid()) {
    at = viewport()->mapToGlobal(visualRect(currentIndex()).center());
  }
  if (actions.context_menu) actions.context_menu(at);
}

// The toolkit's own way would remove what has been dragged once it is dropped.
void SongListWidget::startDrag(Qt::DropActions) {
  const auto count = SelectedPlaces().size();
  if (count == 0) return;
  auto* drag = new QDrag(this);
  drag->setMimeData(rows_.mimeData({}));
  const QString text =
      count == 1 ? currentIndex().siblingAtColumn(0).data(Qt::AccessibleTextRole).toString()
                 : QString::number(count);
  const QFontMetrics metrics(font());
  const QSize size(std::min(metrics.horizontalAdvance(text), width() / 2) + 2 * kRowPadding,
                   metrics.height() + kRowPadding);
  QPixmap picture(size * devicePixelRatioF());
  picture.setDevicePixelRatio(devicePixelRatioF());
  picture.fill(kSelected);
  QPainter painter(&picture);
  painter.setFont(font());
  painter.setPen(kSelectedInk);
  const QRect inside = QRect({0, 0}, size).adjusted(kRowPadding, 0, -kRowPadding, 0);
  painter.drawText(inside, Qt::AlignVCenter | Qt::TextSingleLine,
                   metrics.elidedText(text, Qt::ElideRight, inside.width()));
  painter.end();
  drag->setPixmap(picture);
  drag->exec(Qt::MoveAction);
}

void SongListWidget::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) {
    event->acceptProposedAction();
  } else if (HasOwnEntries(*event->mimeData())) {
    QTreeView::dragEnterEvent(event);
  }
}

void SongListWidget::dragMoveEvent(QDragMoveEvent* event) {
  const bool moves_entries = HasOwnEntries(*event->mimeData());
  QTreeView::dragMoveEvent(event);
  // Files go to the end, wherever they are let go.
  drop_before_ = moves_entries ? PlaceUnder(event->position().toPoint()) : 0;
  viewport()->update();
  if (moves_entries || event->mimeData()->hasUrls()) {
    event->setDropAction(moves_entries ? Qt::MoveAction : Qt::CopyAction);
    event->accept();
  }
}

void SongListWidget::dragLeaveEvent(QDragLeaveEvent* event) {
  QTreeView::dragLeaveEvent(event);
  EndDrag();
}

void SongListWidget::EndDrag() {
  stopAutoScroll();
  setState(NoState);
  drop_before_ = 0;
  viewport()->update();
}

void SongListWidget::dropEvent(QDropEvent* event) {
  if (HasOwnEntries(*event->mimeData())) {
    event->setDropAction(Qt::MoveAction);
    event->accept();
    if (actions.move) actions.move(PlaceUnder(event->position().toPoint()));
  } else if (event->mimeData()->hasUrls()) {
    event->setDropAction(Qt::CopyAction);
    event->accept();
    if (actions.drop_files) actions.drop_files(LocalFiles(*event->mimeData()));
  }
  EndDrag();
}

/// The place before which something lands that is let go here.
int SongListWidget::PlaceUnder(QPoint at) const {
  const QModelIndex index = indexAt(at);
  if (!index.isValid()) return rows_.rowCount() + 1;
  const bool lower_half = at.y() > visualRect(index).center().y();
  return index.row() + (lower_half ? 2 : 1);
}

void SongListWidget::drawRow(QPainter* painter, const QStyleOptionViewItem& option,
                             const QModelIndex& index) const {
  QTreeView::drawRow(painter, option, index);
  if (index.row() != currentIndex().row() || !hasFocus()) return;
  painter->setPen(kFocusLine);
  painter->drawRect(QRectF(option.rect).adjusted(0.5, 0.5, -0.5, -0.5));
}

void SongListWidget::paintEvent(QPaintEvent* event) {
  QTreeView::paintEvent(event);
  QPainter painter(viewport());
  if (drop_before_ > 0) DrawDropLine(painter);
  if (rows_.rowCount() > 0 || empty_text_.isEmpty()) return;
  painter.setPen(palette().color(QPalette::PlaceholderText));
  painter.drawText(viewport()->rect().adjusted(kRowPadding, 0, -kRowPadding, 0),
                   Qt::AlignCenter | Qt::TextWordWrap, empty_text_);
}

void SongListWidget::DrawDropLine(QPainter& painter) {
  const bool at_end = drop_before_ > rows_.rowCount();
  const QRect row = visualRect(rows_.index(at_end ? rows_.rowCount() - 1 : drop_before_ - 1, 0));
  const int y = at_end ? row.bottom() : row.top() - 1;
  painter.fillRect(0, std::max(y, 0), viewport()->width(), 2, kAmber);
}

void SongListWidget::resizeEvent(QResizeEvent* event) {
  const int length_width = fontMetrics().horizontalAdvance("0:00:00") + kLengthPadding;
  header()->resizeSection(SongRows::kLength, length_width);
  header()->resizeSection(SongRows::kArtist, static_cast<int>(viewport()->width() * kArtistShare));
  QTreeView::resizeEvent(event);
}

}  // namespace vexolo
