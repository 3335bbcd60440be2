#include "playlist/play_list_window.h"

#include <QCloseEvent>
#include <QDesktopServices>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QRandomGenerator>
#include <QScreen>
#include <QScrollBar>
#include <QUrl>
#include <QVBoxLayout>
#include <algorithm>
#include <cerrno>
#include <optional>
#include <utility>

#include "platform/paths.h"
#include "playlist/list_file.h"
#include "playlist/list_place.h"
#include "settings/window_place.h"
#include "widgets/dropped_data.h"
#include "widgets/skin.h"
#include "widgets/skin_places.h"

namespace vexolo {
namespace {

constexpr int kWatchInterval = 100;  // milliseconds, as all the timers here
constexpr int kBusyInterval = 30;
constexpr int kSaveDelay = 500;
constexpr int kSaveSizeDelay = 200;

constexpr WindowExtent kWantedExtent{560, 260};
constexpr WindowExtent kLeastExtent{460, 140};
constexpr int kPanelEdge = 5;    // of the panel round the plate that all stands on
constexpr int kMargin = 7;       // on the plate
constexpr int kGlassBorder = 3;  // of the glass that the list lies under
constexpr int kButtonGap = 2;
constexpr int kGroupGap = 10;
constexpr QColor kCountInk(0xc9, 0xcc, 0xd1);

constexpr std::array<ListButton, 8> kButtons = {
    ListButton::kPlus, ListButton::kMoins, ListButton::kPoubelle, ListButton::kShuffle,
    ListButton::kLoad, ListButton::kSave,  ListButton::kPlayIt,   ListButton::kRepeat};
constexpr int kRepeatPicture = 7;

/// After which buttons a group ends.
constexpr bool EndsGroup(ListButton button) {
  return button == ListButton::kPoubelle || button == ListButton::kShuffle ||
         button == ListButton::kSave || button == ListButton::kPlayIt;
}

SpriteRect FaceOf(ListButton button, int state) {
  if (button == ListButton::kRepeat) return ListRepeatSprite(state);
  return ListButtonSprite(button, state != kButtonUp);
}

/// Never throws: the drops that are under way are counted on.
DroppedSongs ExpandSafely(const std::vector<std::string>& paths,
                          const std::atomic<bool>& cancelled) {
  try {
    return ExpandDropped(paths, cancelled);
  } catch (...) {
    return {{}, MakeFileError(ENOMEM)};
  }
}

ScreenArea AreaOf(const QRect& rect) { return {rect.x(), rect.y(), rect.width(), rect.height()}; }

}  // namespace

PlayList::PlayList(const WindowContext& context, QWidget* main_window, PlayListModel& list,
                   ReadSongFacts read_facts, PlayListActions actions)
    : CompanionWindow(context, main_window, "PlayList"),
      list_(list),
      actions_(std::move(actions)),
      facts_(std::move(read_facts)),
      drop_worker_(ExpandSafely),
      last_list_(context.ini.default_file()),
      rows_(list, facts_),
      view_(rows_, this),
      count_(new QLabel(this)) {
  setAcceptDrops(true);
  setMinimumSize(kLeastExtent.width, kLeastExtent.height);
  auto* layout = new QVBoxLayout(this);
  constexpr int kInside = kPanelEdge + kMargin;
  layout->setContentsMargins(kInside, kInside, kInside, kInside);
  layout->setSpacing(kMargin + kGlassBorder);
  MakeButtons();
  auto* below = new QHBoxLayout;
  below->setContentsMargins(kGlassBorder, 0, kGlassBorder, kGlassBorder);
  below->addWidget(&view_);
  layout->addLayout(below, 1);
  ConnectView();
  ConnectTimers();
  resize(kWantedExtent.width, kWantedExtent.height);
  LoadLanguage();
  DispMiscButtons();
  view_.setFocus();
}

PlayList::~PlayList() { Unload(); }

void PlayList::MakeButtons() {
  constexpr std::array<void (PlayList::*)(), 7> kActions = {
      &PlayList::Action_Plus,    &PlayList::Action_Moins,    &PlayList::Action_Poubelle,
      &PlayList::Action_Shuffle, &PlayList::Action_LoadList, &PlayList::Action_SaveList,
      &PlayList::Action_PlayIt};
  auto* row = new QHBoxLayout;
  row->setSpacing(kButtonGap);
  for (std::size_t i = 0; i < kButtons.size(); ++i) {
    const ListButton kind = kButtons[i];
    const auto face = [kind](int state) { return FaceOf(kind, state); };
    auto* button = new SpriteButton(context().skin, kButtonSheet, face, true, this);
    button->setObjectName("PicSM" + QString::number(i));
    button->setFixedSize(button->sizeHint());
    if (i < kActions.size()) {
      button->on_click = [this, action = kActions[i]] { (this->*action)(); };
    } else {
      button->on_click = [this] {
        if (actions_.repeat) actions_.repeat();
      };
    }
    row->addWidget(button);
    if (EndsGroup(kind)) row->addSpacing(kGroupGap);
    PicSM[i] = button;
  }
  count_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  QPalette palette = count_->palette();
  palette.setColor(QPalette::WindowText, kCountInk);
  count_->setPalette(palette);
  // A long text does not make the window wider.
  count_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  row->addSpacing(kGroupGap);
  row->addWidget(count_, 1);
  static_cast<QVBoxLayout*>(layout())->addLayout(row);
}

void PlayList::ConnectView() {
  view_.setObjectName("List");
  view_.actions.play = [this] { Action_PlayIt(); };
  view_.actions.remove = [this] { Action_Moins(); };
  view_.actions.move = [this](int before) { MoveSelected(before); };
  view_.actions.drop_files = [this](std::vector<std::string> paths) {
    AddDropped(std::move(paths));
  };
  view_.actions.context_menu = [this](QPoint at) { ShowMenu(at); };
}

void PlayList::ConnectTimers() {
  QObject::connect(&watch_timer_, &QTimer::timeout, this, [this] { Refresh(); });
  watch_timer_.start(kWatchInterval);
  save_timer_.setSingleShot(true);
  save_timer_.setInterval(kSaveDelay);
  QObject::connect(&save_timer_, &QTimer::timeout, this, [this] { last_list_.Save(list_); });
  save_size_timer_.setSingleShot(true);
  save_size_timer_.setInterval(kSaveSizeDelay);
  QObject::connect(&save_size_timer_, &QTimer::timeout, this, [this] { SaveSize(); });
}

// ---- What the buttons do

std::vector<std::string> PlayList::ChooseSongs(const WindowContext& context) {
  const LanguageSection texts = context.Section("PlayList");
  FileQuestion question;
  question.title = texts.Text("MIDOPENCMD.DialogTitle");
  question.filter =
      SongFilter(texts.Text("MIDOPENCMD.Filter"), context.Section("Main").Text("Extmid"));
  question.folder = context.ini.ReadIni("Mid", "Path");
  std::vector<std::string> songs = ChosenFiles(context.files.OpenFiles(question));
  if (!songs.empty()) StoreSongFolder(context.ini, songs.front());
  return songs;
}

void PlayList::Action_Plus() {
  const std::vector<std::string> songs = ChooseSongs(context());
  for (const std::string& song : songs) list_.AjouteFichierPlayList(song);
  Refresh();
  if (!songs.empty()) view_.ShowPlace(list_.count());
}

void PlayList::Action_Moins() {
  const std::vector<int> places = view_.SelectedPlaces();
  if (places.empty()) return;
  list_.PlayListDelete(places);
  std::vector<int> next;  // the entry that takes the place of the first one removed
  if (list_.count() > 0) next.push_back(std::min(places.front(), list_.count()));
  ListChanged(next, true);
}

void PlayList::Action_Poubelle() {
  drop_worker_.Cancel();
  drops_under_way_.clear();
  list_.Clear();
  ListChanged({}, true);
}

void PlayList::Action_Shuffle() {
  list_.Shuffle([] { return QRandomGenerator::global()->generateDouble(); });
  ListChanged({}, true);
  if (list_.playing() > 0) view_.ShowPlace(list_.playing());
}

std::string PlayList::ListFilterText(const char* key) const {
  return ListFilter(context().Section("PlayList").Text(key));
}

void PlayList::Action_LoadList() {
  FileQuestion question;
  question.title = context().Section("PlayList").Text("M3ULOADCMD.DialogTitle");
  question.filter = ListFilterText("M3ULOADCMD.Filter");
  question.folder = context().ini.ReadIni("Lst", "Path");
  const std::string path = context().files.OpenFile(question);
  if (path.empty() || !LoadPlayList(path, list_, context().boxes)) return;
  StoreListFolder(context().ini, path);
  Refresh();
}

void PlayList::Action_SaveList() {
  FileQuestion question;
  question.title = context().Section("PlayList").Text("M3USAVECMD.DialogTitle");
  question.filter = ListFilterText("M3USAVECMD.Filter");
  question.folder = context().ini.ReadIni("Lst", "Path");
  const std::string path = context().files.SaveFile(question);
  if (path.empty() || !SauvePlayList(path, list_, context().boxes)) return;
  StoreListFolder(context().ini, path);
}

void PlayList::Action_PlayIt() {
  const int place = view_.PlaceToPlay();
  if (place == 0 || !actions_.play_selected) return;
  actions_.play_selected(place);
  Refresh();
}

void PlayList::MoveSelected(int before) {
  std::vector<int> places = view_.SelectedPlaces();
  const int first = list_.PlayListMove(places, before);
  if (first == 0) return;
  for (std::size_t i = 0; i < places.size(); ++i) places[i] = first + static_cast<int>(i);
  ListChanged(places, true);
}

// ---- What is dropped

void PlayList::AddDropped(std::vector<std::string> paths, std::function<void(int)> added) {
  if (paths.empty()) return;
  drops_under_way_.push_back(std::move(added));
  drop_worker_.Add(std::move(paths));
  watch_timer_.start(kBusyInterval);
}

void PlayList::TakeDropped() {
  struct Told {
    std::function<void(int)> added;
    int last_place;
    std::optional<FileError> error;
  };
  std::vector<Told> told;
  for (const DroppedSongs& dropped : drop_worker_.Collect()) {
    for (const std::string& song : dropped.songs) list_.AjouteFichierPlayList(song);
    const int last = dropped.songs.empty() ? 0 : list_.count();
    told.push_back({std::move(drops_under_way_.front()), last, dropped.error});
    drops_under_way_.pop_front();
  }
  if (told.empty()) return;
  ListChanged({}, false);
  view_.ShowPlace(list_.count());
  // Last, for each of these may show a message, under which the window goes on and comes here.
  for (const Told& drop : told) {
    if (drop.added) drop.added(drop.last_place);
    if (drop.error) context().boxes.Show(FileErrorText(*drop.error), {}, BoxIcon::kExclamation);
  }
}

void PlayList::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void PlayList::dropEvent(QDropEvent* event) {
  event->acceptProposedAction();
  AddDropped(LocalFiles(*event->mimeData()));
}

// ---- What is shown

void PlayList::Refresh() {
  TakeDropped();
  if (list_.revision() != shown_revision_) ListChanged({}, false);
  TakeFacts();
  const int interval = reading() ? kBusyInterval : kWatchInterval;
  if (watch_timer_.isActive() && watch_timer_.interval() != interval) {
    watch_timer_.start(interval);
  }
}

/// `select`: places of the entries that are selected now, where `reordered`.
void PlayList::ListChanged(const std::vector<int>& select, bool reordered) {
  shown_revision_ = list_.revision();
  const int scrolled = view_.verticalScrollBar()->value();
  rows_.Sync(reordered);
  if (reordered) {
    view_.verticalScrollBar()->setValue(scrolled);
    view_.SelectPlaces(select, true);
  }
  if (list_.playing() != shown_playing_) {
    shown_playing_ = list_.playing();
    if (shown_playing_ > 0 && !reordered) view_.ShowPlace(shown_playing_);
  }
  if (list_.order_revision() != shown_order_) {
    shown_order_ = list_.order_revision();
    facts_.Want(list_.paths());
    preferred_ = {0, 0};
    save_timer_.start();
  }
  ShowCount();
}

void PlayList::TakeFacts() {
  if (!facts_.reading()) return;
  if (facts_.Collect()) {
    rows_.Repaint();
    ShowCount();
  }
  const std::pair<int, int> in_view = view_.PlacesInView();
  if (!facts_.reading() || in_view == preferred_) return;
  preferred_ = in_view;
  std::vector<std::string> paths;
  for (int place = std::max(in_view.first, 1); place <= in_view.second; ++place) {
    if (facts_.Find(list_.Path(place)) == nullptr) paths.push_back(list_.Path(place));
  }
  if (!paths.empty()) facts_.Prefer(paths);
}

void PlayList::ShowCount() {
  const std::string text =
      CountText(count_texts_, list_.count(), facts_.TotalLength(list_.paths()), facts_.reading());
  // Without songs the same words stand in the middle of the list, where they are of use.
  count_text_ = list_.count() == 0 ? QString() : Q(text);
  FitCount();
}

void PlayList::FitCount() {
  count_->setText(count_->fontMetrics().elidedText(count_text_, Qt::ElideRight, count_->width()));
  count_->setToolTip(count_->text() == count_text_ ? QString() : count_text_);
}

void PlayList::DrawSM(int index, int state) {
  if (index < 0 || index >= static_cast<int>(PicSM.size())) return;
  PicSM[static_cast<std::size_t>(index)]->set_state(state);
}

void PlayList::DispMiscButtons() {
  for (int i = 0; i < kRepeatPicture; ++i) DrawSM(i, kButtonUp);
  DrawSM(kRepeatPicture, repeat_mode_);
}

void PlayList::DrawRepeat(int mode) {
  repeat_mode_ = mode;
  DrawSM(kRepeatPicture, mode);
  ShowRepeatTip();
}

/// The main window's words for the mode, where the language has them.
void PlayList::ShowRepeatTip() {
  std::string text = context().Section("Main").Message(ArrayKey("Repeat", repeat_mode_));
  if (text.empty()) text = context().Section("PlayList").Message(ArrayKey("SM", kRepeatPicture));
  PicSM[kRepeatPicture]->setToolTip(Q(text));
  PicSM[kRepeatPicture]->setAccessibleName(Q(text));
}

void PlayList::LoadLanguage() {
  const LanguageSection texts = context().Section("PlayList");
  setWindowTitle(Q(texts.Message("Caption")));
  for (int i = 0; i < kRepeatPicture; ++i) {
    const QString text = Q(texts.Message(ArrayKey("SM", i)));
    PicSM[static_cast<std::size_t>(i)]->setToolTip(text);
    PicSM[static_cast<std::size_t>(i)]->setAccessibleName(text);
  }
  ShowRepeatTip();
  view_.setAccessibleName(windowTitle());
  rows_.SetHeadings({Q(texts.Message(ArrayKey("Column", 0))),
                     Q(texts.Message(ArrayKey("Column", 2))),
                     Q(texts.Message(ArrayKey("Column", 1)))});
  count_texts_ = {texts.Text("Count", 0), texts.Text("Count", 1), texts.Text("Count(n)"),
                  texts.Text("Counting")};
  view_.SetEmptyText(Q(BreakLines(count_texts_.none)));
  ShowCount();
}

void PlayList::ShowMenu(QPoint at) {
  const LanguageSection texts = context().Section("PlayList");
  QMenu menu(this);
  const bool any_selected = view_.PlaceToPlay() > 0;
  const auto add = [&](const char* key, bool enabled, auto action) {
    QAction* entry = menu.addAction(Q(texts.Message(key)), this, action);
    entry->setObjectName(key);
    entry->setEnabled(enabled);
  };
  add("Menu.Play", any_selected, [this] { Action_PlayIt(); });
  add("Menu.Folder", any_selected, [this] { OpenFolder(); });
  menu.addSeparator();
  add("Menu.Remove", any_selected, [this] { Action_Moins(); });
  add("Menu.SelectAll", list_.count() > 0, [this] { view_.selectAll(); });
  menu.exec(at);
}

void PlayList::OpenFolder() {
  const std::string folder = FolderOf(list_.Path(view_.PlaceToPlay()));
  if (!folder.empty()) QDesktopServices::openUrl(QUrl::fromLocalFile(Q(folder)));
}

// ---- The window

void PlayList::RestorePlace(QPoint beside) {
  if (const auto kept = ReadExtent(context().ini, section())) {
    resize(std::max(kept->width, kLeastExtent.width), std::max(kept->height, kLeastExtent.height));
  } else if (main_window() && !ReadPlace(context().ini, section())) {
    const QSize frame = frameGeometry().size() - size();
    const ScreenArea area =
        DockedPlace(AreaOf(main_window()->frameGeometry()),
                    AreaOf(main_window()->screen()->availableGeometry()),
                    {kWantedExtent.width, kWantedExtent.height + frame.height()}, kLeastExtent);
    resize(area.width - frame.width(), area.height - frame.height());
    beside = QPoint(area.x, area.y) - main_window()->pos();
  }
  CompanionWindow::RestorePlace(beside);
  save_size_timer_.stop();  // nothing the user has done
}

void PlayList::RestoreLastList() {
  last_list_.Restore(list_, context().boxes);
  Refresh();
}

void PlayList::Unload() {
  watch_timer_.stop();
  save_timer_.stop();
  drop_worker_.Stop();
  facts_.Stop();
  last_list_.Save(list_);
}

// The name as it has always been written there; sections are found whatever their case.
void PlayList::StoreClosed() { WriteShow(context().ini, "Playlist", false); }

void PlayList::SaveSize() {
  save_size_timer_.stop();
  WriteExtent(context().ini, section(), {width(), height()});
}

void PlayList::closeEvent(QCloseEvent* event) {
  if (save_size_timer_.isActive()) SaveSize();
  if (context().quitting) Unload();
  CompanionWindow::closeEvent(event);
}

void PlayList::resizeEvent(QResizeEvent* event) {
  CompanionWindow::resizeEvent(event);
  FitCount();
  if (isVisible()) save_size_timer_.start();
}

void PlayList::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Open)) {
    Action_Plus();
  } else if (event->matches(QKeySequence::Save)) {
    Action_SaveList();
  } else if (event->matches(QKeySequence::SelectAll)) {
    view_.selectAll();
  } else {
    CompanionWindow::keyPressEvent(event);
  }
}

void PlayList::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  context().skin.DrawTiled(painter, kLampSheet, kPanelTile, rect());
  context().skin.DrawNinePatch(painter, kPlatePatch,
                               rect().adjusted(kPanelEdge, kPanelEdge, -kPanelEdge, -kPanelEdge));
  const QRect glass =
      view_.geometry().adjusted(-kGlassBorder, -kGlassBorder, kGlassBorder, kGlassBorder);
  context().skin.DrawNinePatch(painter, kGlassPatch, glass);
}

}  // namespace vexolo
