// layer: gui
#include "playlist/play_list_window.h"

#include <QApplication>
#include <QDropEvent>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QScrollBar>
#include <QTest>
#include <QUrl>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/cut_texts.h"
#include "fakes/fake_file_dialogs.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"
#include "mixer/channel_strips.h"
#include "platform/file_io.h"
#include "settings/window_place.h"
#include "widgets/skin.h"

namespace vexolo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Paths = std::vector<std::string>;
using Places = std::vector<int>;

/// FOLDER/0.mid, FOLDER/1.mid, ...
Paths Numbered(const std::string& folder, int count) {
  Paths paths;
  for (int i = 0; i < count; ++i) {
    std::string path = folder;
    paths.push_back(path.append("/").append(std::to_string(i)).append(".mid"));
  }
  return paths;
}

class PlayListTest : public ::testing::Test {
 protected:
  /// Each song lasts as many minutes as its path has characters.
  static SongFacts ReadFacts(const std::string& path) {
    if (path.find("broken") != std::string::npos) return {};
    return {60.0 * static_cast<double>(path.size()), "Title", "Artist of " + path};
  }

  std::unique_ptr<PlayList> Make(QWidget* main = nullptr) {
    PlayListActions actions;
    actions.play_selected = [this](int place) {
      played_.push_back(place);
      list_.PlayListSelect(place);
    };
    actions.repeat = [this] { ++repeated_; };
    return std::make_unique<PlayList>(context_, main, list_, ReadFacts, actions);
  }

  void Add(const Paths& paths) {
    for (const std::string& path : paths) list_.AjouteFichierPlayList(path);
  }

  /// The window with these songs, on the screen and with all it has read.
  PlayList& Show(const Paths& paths) {
    Add(paths);
    window_ = Make();
    window_->show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(window_.get()));
    window_->activateWindow();
    window_->view().setFocus();
    window_->Refresh();
    EXPECT_TRUE(QTest::qWaitFor([this] { return AllRead(); }));
    return *window_;
  }
  bool AllRead() const {
    const QString artist = Cell(list_.count(), SongRows::kArtist);
    return list_.count() == 0 || !artist.isEmpty() || Cell(list_.count(), SongRows::kLength) == "–";
  }

  QString Cell(int place, int column) const {
    return window_->view().model()->index(place - 1, column).data().toString();
  }
  QStringList Names() const {
    QStringList names;
    for (int place = 1; place <= window_->view().model()->rowCount(); ++place) {
      names << Cell(place, SongRows::kName);
    }
    return names;
  }
  SpriteButton& Button(int index) {
    return *window_->findChild<SpriteButton*>("PicSM" + QString::number(index));
  }
  void Click(int button) { QTest::mouseClick(&Button(button), Qt::LeftButton); }
  void Key(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::keyClick(&window_->view(), static_cast<Qt::Key>(key), modifiers);
  }
  QPoint CentreOf(int place) {
    return window_->view().visualRect(window_->view().model()->index(place - 1, 0)).center();
  }
  void ClickRow(int place, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::mouseClick(window_->view().viewport(), Qt::LeftButton, modifiers, CentreOf(place));
  }
  void Select(const Places& places) { window_->view().SelectPlaces(places, false); }

  /// What the toolkit does when something is dragged to `at` and let go. False where it may not be
  /// dropped there.
  static bool Drop(QWidget& on, QMimeData& data, QPoint at, Qt::DropAction action) {
    QDragEnterEvent enter(at, action, &data, Qt::LeftButton, Qt::NoModifier);
    enter.setAccepted(false);
    QApplication::sendEvent(&on, &enter);
    QDragMoveEvent move(at, action, &data, Qt::LeftButton, Qt::NoModifier);
    move.setAccepted(false);
    QApplication::sendEvent(&on, &move);
    if (!enter.isAccepted() && !move.isAccepted()) return false;
    QDropEvent drop(QPointF(at), action, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&on, &drop);
    return drop.isAccepted();
  }
  bool DropFiles(QWidget& on, const Paths& paths) {
    QMimeData data;
    QList<QUrl> urls;
    for (const std::string& path : paths) urls << QUrl::fromLocalFile(Q(path));
    data.setUrls(urls);
    return Drop(on, data, {20, 20}, Qt::CopyAction);
  }
  /// Drags what is selected to the upper or lower half of a row.
  bool DragSelected(int to, bool upper_half) {
    const std::unique_ptr<QMimeData> data(window_->view().model()->mimeData({}));
    return Drop(*window_->view().viewport(), *data, CentreOf(to) + QPoint(0, upper_half ? -5 : 5),
                Qt::MoveAction);
  }
  bool WaitForCount(int count) {
    return QTest::qWaitFor([&] { return list_.count() == count; });
  }

  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  FakeFileDialogs files_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  Skin skin_;
  std::string language_file_ = VEXOLO_SOURCES "/src/resources/languages/fr.lng";
  std::atomic<bool> quitting_{false};
  WindowContext context_{ini_, skin_, boxes_, files_, language_file_, quitting_};
  PlayListModel list_;
  std::vector<int> played_;
  int repeated_ = 0;
  std::unique_ptr<PlayList> window_;
};

// ---- What is shown

TEST_F(PlayListTest, ShowsNamesLengthsAndArtists) {
  Show({"/m/a.mid", "/m/broken.kar"});
  EXPECT_EQ(Names(), (QStringList{"    a.mid", "    broken.kar"}));
  EXPECT_EQ(Cell(1, SongRows::kArtist), "Artist of /m/a.mid");
  EXPECT_EQ(Cell(1, SongRows::kLength), "8:00");
  EXPECT_EQ(Cell(2, SongRows::kArtist), "");
  EXPECT_EQ(Cell(2, SongRows::kLength), "–");
  EXPECT_EQ(window_->count_text(), "2 chansons – 8:00");
}

TEST_F(PlayListTest, TheTooltipTellsTitleArtistAndWholePath) {
  Show({"/m/<b>&.mid"});
  const QString tip = window_->view().model()->index(0, 0).data(Qt::ToolTipRole).toString();
  EXPECT_EQ(tip, "<qt>Title<br>Artist of /m/&lt;b&gt;&amp;.mid<br>/m/&lt;b&gt;&amp;.mid</qt>");
}

TEST_F(PlayListTest, ThePlayingEntryHasTheArrowAndAnotherColour) {
  Show({"/a.mid", "/b.mid"});
  const QAbstractItemModel& rows = *window_->view().model();
  const auto ink = [&](int row) { return rows.index(row, 0).data(Qt::ForegroundRole); };
  EXPECT_FALSE(ink(1).isValid());
  list_.PlayListSelect(2);
  window_->Refresh();
  EXPECT_EQ(Names(), (QStringList{"    a.mid", "-> b.mid"}));
  EXPECT_TRUE(ink(1).isValid());
  EXPECT_FALSE(ink(0).isValid());
}

/// Where in a picture something bright begins; a frame round it does not count.
QPoint StartOfWriting(const QImage& image) {
  const QRect inside = image.rect().adjusted(1, 2, -1, -2);
  QPoint start = inside.bottomRight();
  for (int x = inside.left(); x <= inside.right(); ++x) {
    for (int y = inside.top(); y <= inside.bottom(); ++y) {
      if (qGray(image.pixel(x, y)) < 110) continue;
      start = {std::min(start.x(), x), std::min(start.y(), y)};
    }
  }
  return start;
}

TEST_F(PlayListTest, WhatIsWrittenStandsInLine) {
  language_file_ = folder_.Write("x.lng", "[PlayList]\r\nColumn(0)=Artist\r\nColumn(2)=Artist\r\n");
  PlayList& window = Show({"/Artist.mid"});
  const auto cell = [&](int column) {
    const QRect rect = window.view().visualRect(window.view().model()->index(0, column));
    return StartOfWriting(window.view().viewport()->grab(rect).toImage());
  };
  const auto heading = [&](int column) {
    const QHeaderView& header = *window.view().header();
    const QRect rect(header.sectionPosition(column), 0, header.sectionSize(column),
                     header.height());
    return StartOfWriting(window.view().header()->grab(rect).toImage());
  };
  EXPECT_GT(cell(SongRows::kName).x(), 10);
  EXPECT_EQ(cell(SongRows::kName).y(), cell(SongRows::kArtist).y());
  EXPECT_EQ(heading(SongRows::kName).y(), heading(SongRows::kArtist).y());
  for (const int column : {SongRows::kName, SongRows::kArtist}) {
    EXPECT_NEAR(heading(column).x(), cell(column).x(), 1) << column;
  }
}

TEST_F(PlayListTest, NamesLineUpWhetherTheyPlayOrNot) {
  PlayList& window = Show({"/WWWW.mid"});
  const QRect cell = window.view().visualRect(window.view().model()->index(0, 0));
  const auto first_letter = [&] {
    // The leftmost column of pixels behind the prefix in which something is written.
    const QImage image = window.view().viewport()->grab(cell).toImage();
    const int from = window.view().fontMetrics().horizontalAdvance("-> ") + 1;
    const QRgb paper = image.pixel(image.width() - 2, 2);
    for (int x = from; x < image.width(); ++x) {
      for (int y = 2; y < image.height() - 2; ++y) {
        if (qGray(image.pixel(x, y)) > qGray(paper) + 60) return x;
      }
    }
    return -1;
  };
  const int before = first_letter();
  ASSERT_GT(before, 0);
  list_.PlayListSelect(1);
  window.Refresh();
  EXPECT_EQ(first_letter(), before);
}

TEST_F(PlayListTest, ChangesThatOthersMakeAppearByThemselves) {
  Show({"/a.mid"});
  list_.AjouteFichierPlayList("/b.mid");
  EXPECT_TRUE(QTest::qWaitFor([this] { return Names().size() == 2; }));
  list_.PlayListDelete(1);
  EXPECT_TRUE(QTest::qWaitFor([this] { return Names() == QStringList{"    b.mid"}; }));
}

TEST_F(PlayListTest, TheSongThatBeginsToPlayComesIntoView) {
  PlayList& window = Show(Numbered("", 200));
  EXPECT_LT(window.view().PlacesInView().second, 100);
  list_.PlayListSelect(150);
  window.Refresh();
  const auto [first, last] = window.view().PlacesInView();
  EXPECT_LE(first, 150);
  EXPECT_GE(last, 150);
}

TEST_F(PlayListTest, AnEmptyListSaysSo) {
  PlayList& window = Show({});
  EXPECT_EQ(window.count_text(), "");
  const QImage empty = window.view().viewport()->grab().toImage();
  window.view().SetEmptyText({});
  EXPECT_NE(window.view().viewport()->grab().toImage(), empty);
}

TEST_F(PlayListTest, FillsTheWindowBelowTheButtons) {
  PlayList& window = Show({"/a.mid"});
  for (const QSize size : {window.minimumSize(), QSize(900, 600)}) {
    window.resize(size);
    EXPECT_TRUE(QTest::qWaitFor([&] { return window.size() == size; }));
    QApplication::processEvents();
    const QRect list = window.view().geometry();
    EXPECT_LE(list.left(), 16);
    EXPECT_GE(list.right(), size.width() - 17);
    EXPECT_GE(list.bottom(), size.height() - 17);
    EXPECT_LE(list.top(), 50);
  }
}

TEST_F(PlayListTest, EveryLanguageFits) {
  for (const char* code : {"fr", "en", "es", "de"}) {
    language_file_ = VEXOLO_SOURCES "/src/resources/languages/";
    language_file_.append(code).append(".lng");
    PlayList& window = Show({"/a.mid", "/b.mid"});
    window.resize(window.minimumSize());
    QApplication::processEvents();
    EXPECT_FALSE(window.windowTitle().isEmpty());
    EXPECT_EQ(UnnamedControls(window), std::vector<std::string>()) << code;
    EXPECT_EQ(window.findChild<QLabel*>()->text(), window.count_text()) << code;
    for (int column = 0; column < SongRows::kColumns; ++column) {
      const QHeaderView& header = *window.view().header();
      EXPECT_GE(header.sectionSize(column), header.sectionSizeHint(column)) << code << column;
    }
    list_.Clear();
  }
}

TEST_F(PlayListTest, ACountThatDoesNotFitIsToldInItsTooltip) {
  Show({"/a.mid"});
  const auto* label = window_->findChild<QLabel*>();
  EXPECT_EQ(label->toolTip(), "");
  window_->resize(window_->minimumSize());
  language_file_ = folder_.Write("x.lng", "[PlayList]\r\nCount(1)=" + std::string(120, 'w'));
  window_->LoadLanguage();
  EXPECT_TRUE(label->text().endsWith("…"));
  EXPECT_EQ(label->toolTip(), window_->count_text());
}

TEST_F(PlayListTest, CaptionsComeFromTheLanguageFile) {
  PlayList& window = Show({"/a.mid"});
  EXPECT_EQ(window.windowTitle(), "Liste des chansons");
  EXPECT_EQ(Button(3).toolTip(), "Mélanger la liste");
  EXPECT_EQ(Button(3).accessibleName(), "Mélanger la liste");
  EXPECT_EQ(window.count_text(), "1 chanson – 6:00");
  language_file_ = VEXOLO_SOURCES "/src/resources/languages/en.lng";
  window.LoadLanguage();
  EXPECT_EQ(window.windowTitle(), "Song list");
  EXPECT_EQ(Button(3).toolTip(), "Shuffle the list");
  EXPECT_EQ(window.count_text(), "1 song – 6:00");
  EXPECT_EQ(window.view().model()->headerData(SongRows::kLength, Qt::Horizontal).toString(),
            "Length");
}

TEST_F(PlayListTest, TheRepeatButtonHasTheMainWindowsFaces) {
  PlayList& window = Show({});
  for (const int mode : {0, 2, 3}) {
    window.DrawRepeat(mode);
    EXPECT_EQ(Button(7).drawn_state(), mode);
    EXPECT_EQ(ListRepeatSprite(mode), SmSprite(42, mode));
    EXPECT_FALSE(Button(7).toolTip().isEmpty());
  }
  window.DispMiscButtons();
  EXPECT_EQ(Button(7).drawn_state(), 3);
  EXPECT_EQ(ListRepeatSprite(1), SmSprite(42, 1));
  Click(7);
  EXPECT_EQ(repeated_, 1);
}

TEST_F(PlayListTest, ButtonsAreDownWhileTheyAreHeld) {
  Show({"/a.mid"});
  for (int i = 0; i < 7; ++i) {
    EXPECT_EQ(Button(i).drawn_state(), 0) << i;
    QTest::mousePress(&Button(i), Qt::LeftButton);
    EXPECT_EQ(Button(i).drawn_state(), 1) << i;
    QTest::mouseMove(&Button(i), {-50, 0});  // let go elsewhere: nothing is done
    QTest::mouseRelease(&Button(i), Qt::LeftButton, {}, {-50, 0});
    EXPECT_EQ(Button(i).drawn_state(), 0) << i;
  }
  EXPECT_EQ(list_.count(), 1);
  window_->DrawSM(2, 1);
  EXPECT_EQ(Button(2).drawn_state(), 1);
  window_->DrawSM(-1, 1);
  window_->DrawSM(8, 1);
}

// ---- What the buttons do

TEST_F(PlayListTest, PlusAddsTheChosenSongsAndRemembersTheirFolder) {
  Show({"/first.mid"});
  ini_.WriteIni("Mid", "Path", "/before");
  files_.answers = {{"/songs/b.mid", "/songs/a.kar"}};
  Click(0);
  EXPECT_EQ(list_.paths(), (Paths{"/first.mid", "/songs/b.mid", "/songs/a.kar"}));
  ASSERT_EQ(files_.asked.size(), 1u);
  EXPECT_EQ(files_.asked[0].title, "Ajouter des chansons");
  EXPECT_EQ(files_.asked[0].folder, "/before");
  EXPECT_NE(files_.asked[0].filter.find("|*.mid;*.kar"), std::string::npos);
  EXPECT_EQ(files_.asked[0].filter.find('%'), std::string::npos);
  EXPECT_EQ(ini_.ReadIni("Mid", "Path"), "/songs");
  Click(0);  // and leaves the dialog
  EXPECT_EQ(list_.count(), 3);
  files_.answers = {{"/songs", "c.mid", "d.mid"}};  // as some dialogs put it
  Click(0);
  EXPECT_EQ(list_.paths()[3], "/songs/c.mid");
  EXPECT_EQ(list_.count(), 5);
  EXPECT_EQ(ini_.ReadIni("Mid", "Path"), "/songs");
}

TEST_F(PlayListTest, MoinsRemovesWhatIsSelectedAndSelectsWhatFollows) {
  Show({"/a.mid", "/b.mid", "/c.mid", "/d.mid"});
  Select({2, 3});
  Click(1);
  EXPECT_EQ(list_.paths(), (Paths{"/a.mid", "/d.mid"}));
  EXPECT_EQ(window_->view().SelectedPlaces(), (Places{2}));
  Click(1);
  Click(1);
  EXPECT_EQ(list_.count(), 0);
  Click(1);
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(PlayListTest, MoinsWithoutSelectionDoesNothing) {
  Show({"/a.mid"});
  Click(1);
  EXPECT_EQ(list_.count(), 1);
}

TEST_F(PlayListTest, PoubelleEmptiesTheList) {
  Show({"/a.mid", "/b.mid"});
  Click(2);
  EXPECT_EQ(list_.count(), 0);
  EXPECT_TRUE(Names().isEmpty());
  EXPECT_EQ(window_->count_text(), "");
}

TEST_F(PlayListTest, ShuffleKeepsNamesWithTheirPaths) {
  Paths paths = Numbered("", 50);
  Show(paths);
  list_.PlayListSelect(7);
  Click(3);
  EXPECT_NE(list_.paths(), paths);
  Paths sorted = list_.paths();
  std::sort(sorted.begin(), sorted.end());
  std::sort(paths.begin(), paths.end());
  EXPECT_EQ(sorted, paths);
  EXPECT_EQ(list_.Path(list_.current()), "/6.mid");
  for (int place = 1; place <= 50; ++place) {
    EXPECT_EQ(Cell(place, 0).mid(place == list_.playing() ? 3 : 4).toStdString(),
              list_.Path(place).substr(1));
  }
}

TEST_F(PlayListTest, ShufflingOneEntryOrNoneChangesNothing) {
  Show({});
  Click(3);
  EXPECT_EQ(list_.count(), 0);
  Add({"/a.mid"});
  Click(3);
  EXPECT_EQ(list_.paths(), (Paths{"/a.mid"}));
}

TEST_F(PlayListTest, LoadListAddsItsSongsAndRemembersItsFolder) {
  folder_.Write("x.m3u", "#EXTM3U\r\nsong.KAR\r\nnotes.txt\r\nx.midi\r\n");
  Show({"/first.mid"});
  files_.answers = {{folder_ / "x.m3u"}};
  Click(4);
  EXPECT_EQ(list_.paths(), (Paths{"/first.mid", folder_ / "song.KAR", folder_ / "x.midi"}));
  EXPECT_EQ(Names().size(), 3);
  EXPECT_EQ(ini_.ReadIni("Lst", "Path"), folder_.path());
  EXPECT_EQ(files_.asked[0].title, "Charger une liste");
  EXPECT_EQ(files_.asked[0].filter,
            "Listes de chansons (*.zvp, *.m3u)|*.zvp;*.m3u|Tous les fichiers|*");
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(PlayListTest, AListThatCannotBeReadIsReportedAndNothingIsLost) {
  Show({"/first.mid"});
  files_.answers = {{folder_ / "none.m3u"}};
  Click(4);
  ASSERT_EQ(boxes_.shown.size(), 1u);
  EXPECT_EQ(boxes_.shown[0].text,
            "Erreur n° " + std::to_string(ENOENT) + "\r\n" + MakeFileError(ENOENT).description);
  EXPECT_EQ(list_.paths(), (Paths{"/first.mid"}));
  EXPECT_EQ(ini_.ReadIni("Lst", "Path"), "");
}

TEST_F(PlayListTest, WhatIsSavedLoadsAgainInTheSameOrder) {
  const Paths songs = {"/m/b.mid", "/m/é.kar", "/m/b.mid"};
  Show(songs);
  files_.answers = {{folder_ / "x.zvp"}, {folder_ / "x.zvp"}};
  Click(5);
  EXPECT_EQ(folder_.Read("x.zvp"), "/m/b.mid\r\n/m/é.kar\r\n/m/b.mid\r\n");
  EXPECT_EQ(files_.asked[0].title, "Enregistrer la liste");
  EXPECT_EQ(ini_.ReadIni("Lst", "Path"), folder_.path());
  Click(2);
  Click(4);
  EXPECT_EQ(list_.paths(), songs);
  EXPECT_EQ(files_.asked[1].folder, folder_.path());
}

TEST_F(PlayListTest, AListThatCannotBeWrittenIsReported) {
  Show({"/a.mid"});
  files_.answers = {{folder_ / "none/x.zvp"}};
  Click(5);
  ASSERT_EQ(boxes_.shown.size(), 1u);
  EXPECT_TRUE(boxes_.shown[0].text.starts_with("Erreur n° " + std::to_string(ENOENT) + "\r\n"));
  EXPECT_EQ(ini_.ReadIni("Lst", "Path"), "");
}

TEST_F(PlayListTest, PlayItPlaysTheSelectedEntry) {
  Show({"/a.mid", "/b.mid", "/c.mid"});
  Click(6);
  EXPECT_TRUE(played_.empty());  // nothing is selected
  ClickRow(2);
  Click(6);
  EXPECT_EQ(played_, (Places{2}));
  EXPECT_EQ(Cell(2, 0), "-> b.mid");
}

TEST_F(PlayListTest, ADoubleClickPlays) {
  Show({"/a.mid", "/b.mid", "/c.mid"});
  ClickRow(3);
  QTest::mouseDClick(window_->view().viewport(), Qt::LeftButton, {}, CentreOf(3));
  EXPECT_EQ(played_, (Places{3}));
  // Below the last entry there is nothing to play.
  QTest::mouseDClick(window_->view().viewport(), Qt::LeftButton, {},
                     {50, window_->view().viewport()->height() - 3});
  EXPECT_EQ(played_, (Places{3}));
}

// ---- Keyboard

TEST_F(PlayListTest, TheKeyboardPlaysRemovesAndSelectsAll) {
  Show({"/a.mid", "/b.mid", "/c.mid"});
  ClickRow(1);
  Key(Qt::Key_Down);
  Key(Qt::Key_Return);
  EXPECT_EQ(played_, (Places{2}));
  Key(Qt::Key_Enter, Qt::KeypadModifier);
  EXPECT_EQ(played_, (Places{2, 2}));
  Key(Qt::Key_Delete);
  EXPECT_EQ(list_.paths(), (Paths{"/a.mid", "/c.mid"}));
  Key(Qt::Key_A, Qt::ControlModifier);
  EXPECT_EQ(window_->view().SelectedPlaces(), (Places{1, 2}));
  Key(Qt::Key_Delete);
  EXPECT_EQ(list_.count(), 0);
}

TEST_F(PlayListTest, SeveralEntriesAreSelectedWithShiftAndControl) {
  Show({"/a.mid", "/b.mid", "/c.mid", "/d.mid", "/e.mid"});
  ClickRow(1);
  ClickRow(3, Qt::ShiftModifier);
  ClickRow(5, Qt::ControlModifier);
  ClickRow(2, Qt::ControlModifier);
  EXPECT_EQ(window_->view().SelectedPlaces(), (Places{1, 3, 5}));
  Key(Qt::Key_Delete);
  EXPECT_EQ(list_.paths(), (Paths{"/b.mid", "/d.mid"}));
}

TEST_F(PlayListTest, ControlOAndControlSOpenTheDialogs) {
  Show({"/a.mid"});
  Key(Qt::Key_O, Qt::ControlModifier);
  Key(Qt::Key_S, Qt::ControlModifier);
  ASSERT_EQ(files_.asked.size(), 2u);
  EXPECT_EQ(files_.asked[0].title, "Ajouter des chansons");
  EXPECT_EQ(files_.asked[1].title, "Enregistrer la liste");
}

TEST_F(PlayListTest, EntriesAreMovedWithTheKeyboard) {
  Show({"/a.mid", "/b.mid", "/c.mid", "/d.mid"});
  Select({2, 3});
  Key(Qt::Key_Up, Qt::AltModifier);
  EXPECT_EQ(list_.paths(), (Paths{"/b.mid", "/c.mid", "/a.mid", "/d.mid"}));
  EXPECT_EQ(window_->view().SelectedPlaces(), (Places{1, 2}));
  Key(Qt::Key_Up, Qt::AltModifier);
  Key(Qt::Key_Down, Qt::AltModifier);
  Key(Qt::Key_Down, Qt::AltModifier);
  Key(Qt::Key_Down, Qt::AltModifier);
  EXPECT_EQ(list_.paths(), (Paths{"/a.mid", "/d.mid", "/b.mid", "/c.mid"}));
  EXPECT_EQ(window_->view().SelectedPlaces(), (Places{3, 4}));
}

TEST_F(PlayListTest, TypedLettersLookForNames) {
  Show({"/alpha.mid", "/beta.mid", "/Gamma.mid"});
  Key(Qt::Key_G);
  EXPECT_EQ(window_->view().SelectedPlaces(), (Places{3}));
}

TEST_F(PlayListTest, EveryButtonIsReachedWithTheKeyboard) {
  Show({"/a.mid"});
  EXPECT_TRUE(QTest::qWaitFor([] { return QApplication::focusWidget() != nullptr; }));
  QStringList reached;
  for (int i = 0; i < 12; ++i) {
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    reached << QApplication::focusWidget()->objectName();
  }
  for (int i = 0; i < 8; ++i) EXPECT_TRUE(reached.contains("PicSM" + QString::number(i))) << i;
  Button(2).setFocus();
  QTest::keyClick(&Button(2), Qt::Key_Return);
  EXPECT_EQ(list_.count(), 0);
}

// ---- Dragging

TEST_F(PlayListTest, DraggingReordersTheSelectedEntries) {
  Show({"/a.mid", "/b.mid", "/c.mid", "/d.mid", "/e.mid"});
  list_.PlayListSelect(5);
  Select({1, 3});
  EXPECT_TRUE(DragSelected(5, true));
  EXPECT_EQ(list_.paths(), (Paths{"/b.mid", "/d.mid", "/a.mid", "/c.mid", "/e.mid"}));
  EXPECT_EQ(window_->view().SelectedPlaces(), (Places{3, 4}));
  EXPECT_TRUE(DragSelected(5, false));
  EXPECT_EQ(list_.paths(), (Paths{"/b.mid", "/d.mid", "/e.mid", "/a.mid", "/c.mid"}));
  EXPECT_EQ(list_.Path(list_.playing()), "/e.mid");
  EXPECT_EQ(Names()[2], "-> e.mid");
  Select({5});
  EXPECT_TRUE(DragSelected(1, true));
  EXPECT_EQ(list_.Path(1), "/c.mid");
  EXPECT_EQ(list_.count(), 5);
}

TEST_F(PlayListTest, EntriesOfAnotherProgramAreNotTaken) {
  Show({"/a.mid", "/b.mid"});
  Select({2});
  QMimeData foreign;
  foreign.setData("application/x-vexolo-entries", "1");
  EXPECT_FALSE(Drop(*window_->view().viewport(), foreign, CentreOf(1), Qt::MoveAction));
  EXPECT_EQ(list_.paths(), (Paths{"/a.mid", "/b.mid"}));
}

TEST_F(PlayListTest, DroppedFilesComeAtTheEndInTheOrderGiven) {
  Show({"/a.mid", "/b.mid"});
  EXPECT_TRUE(DropFiles(*window_->view().viewport(), {"/z.mid", "/y.kar"}));
  ASSERT_TRUE(WaitForCount(4));
  EXPECT_EQ(list_.paths(), (Paths{"/a.mid", "/b.mid", "/z.mid", "/y.kar"}));
  EXPECT_TRUE(DropFiles(*window_, {"/x.mid"}));  // beside the list
  ASSERT_TRUE(WaitForCount(5));
  EXPECT_EQ(list_.Path(5), "/x.mid");
  EXPECT_TRUE(played_.empty());
}

TEST_F(PlayListTest, DroppedFoldersAndListsAreGoneThrough) {
  fs::create_directories(folder_ / "m/sub");
  folder_.Write("m/2.mid", "");
  folder_.Write("m/10.mid", "");
  folder_.Write("m/sub/x.kar", "");
  folder_.Write("m/cover.jpg", "");
  folder_.Write("x.m3u", "named.mid\r\n");
  Show({});
  EXPECT_TRUE(DropFiles(*window_, {folder_ / "x.m3u", folder_ / "m"}));
  ASSERT_TRUE(WaitForCount(4));
  EXPECT_EQ(list_.paths(), (Paths{folder_ / "named.mid", folder_ / "m/2.mid", folder_ / "m/10.mid",
                                  folder_ / "m/sub/x.kar"}));
}

TEST_F(PlayListTest, AWindowThatDropsHearsOfTheLastSong) {
  Show({"/a.mid"});
  std::vector<int> told;
  window_->AddDropped({"/b.mid", "/c.mid"}, [&](int last) { told.push_back(last); });
  fs::create_directory(folder_ / "empty");
  window_->AddDropped({folder_ / "empty"}, [&](int last) { told.push_back(last); });
  EXPECT_TRUE(QTest::qWaitFor([&] { return told.size() == 2; }));
  EXPECT_EQ(told, (Places{3, 0}));
}

TEST_F(PlayListTest, ADroppedListThatCannotBeReadIsReported) {
  Show({"/a.mid"});
  window_->AddDropped({folder_ / "none.m3u", "/b.mid"});
  ASSERT_TRUE(WaitForCount(2));
  EXPECT_TRUE(QTest::qWaitFor([&] { return boxes_.shown.size() == 1; }));
  EXPECT_TRUE(boxes_.shown[0].text.starts_with("Erreur n° "));
}

TEST_F(PlayListTest, EmptyingTheListDropsWhatIsOnItsWay) {
  for (const std::string& song : Numbered("", 300)) folder_.Write(song.substr(1), "");
  Show({});
  bool told = false;
  window_->AddDropped({folder_.path()}, [&](int) { told = true; });
  window_->Action_Poubelle();
  window_->AddDropped({"/b.mid"});
  ASSERT_TRUE(WaitForCount(1));
  EXPECT_EQ(list_.Path(1), "/b.mid");
  EXPECT_FALSE(told);
}

TEST_F(PlayListTest, TheMenuOffersWhatCanBeDone) {
  Show({"/a.mid", "/b.mid"});
  ClickRow(2);
  QTimer::singleShot(0, [this] {
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    QStringList texts;
    for (const QAction* entry : menu->actions()) {
      if (!entry->isSeparator()) texts << entry->text();
    }
    EXPECT_EQ(texts, (QStringList{"&Jouer", "&Ouvrir le dossier de la chanson", "&Retirer (Suppr)",
                                  "&Tout choisir (Ctrl+A)"}));
    menu->findChild<QAction*>("Menu.Remove")->trigger();
    menu->close();
  });
  QContextMenuEvent event(QContextMenuEvent::Mouse, CentreOf(2),
                          window_->view().viewport()->mapToGlobal(CentreOf(2)));
  QApplication::sendEvent(window_->view().viewport(), &event);
  EXPECT_EQ(list_.paths(), (Paths{"/a.mid"}));
}

// ---- The window from one run to the next

TEST_F(PlayListTest, ClosingHidesTheWindowAndIsRemembered) {
  WriteShow(ini_, "PlayList", true);
  PlayList& window = Show({});
  bool told = false;
  window.set_closed_by_user([&] { told = true; });
  window.close();
  EXPECT_FALSE(window.isVisible());
  EXPECT_EQ(ini_.ReadIni("PlayList", "Show"), "0");
  EXPECT_EQ(ini_.ReadIni("Playlist", "Show"), "0");
  EXPECT_TRUE(told);
  window.show();
  EXPECT_TRUE(window.isVisible());
}

TEST_F(PlayListTest, ClosingWritesThePlaceOfTheOtherSpelling) {
  PlayList& window = Show({});
  window.close();
  EXPECT_NE(folder_.Read("Vexolo.ini").find("[Playlist]"), std::string::npos);
}

TEST_F(PlayListTest, PlaceAndSizeAreKept) {
  {
    PlayList& window = Show({});
    window.move(120, 90);
    window.resize(500, 300);
    EXPECT_TRUE(QTest::qWaitFor([this] {
      return ReadExtent(ini_, "PlayList") == WindowExtent{500, 300} &&
             ReadPlace(ini_, "PlayList") == WindowPlace{120, 90};
    }));
  }
  window_.reset();
  window_ = Make();
  window_->RestorePlace({0, 0});
  EXPECT_EQ(window_->size(), QSize(500, 300));
  EXPECT_EQ(window_->pos(), QPoint(120, 90));
}

TEST_F(PlayListTest, AtFirstItIsDockedUnderTheMainWindow) {
  QWidget main;
  main.setGeometry(200, 100, 700, 300);
  main.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&main));
  window_ = Make(&main);
  window_->RestorePlace({1, 2});
  EXPECT_EQ(window_->pos(), main.pos() + QPoint(0, main.frameGeometry().height()));
  EXPECT_EQ(window_->width(), main.frameGeometry().width());
  EXPECT_EQ(ini_.ReadIni("PlayList", "X"), "");
  window_.reset();
}

TEST_F(PlayListTest, TheLastListComesBackWithNothingCurrent) {
  {
    Show({});
    window_->RestoreLastList();
    Add({"/b.mid", "/a.kar"});
    list_.PlayListSelect(2);
    window_->Refresh();
    EXPECT_TRUE(
        QTest::qWaitFor([this] { return folder_.Read("Vexolo.zvp") == "/b.mid\r\n/a.kar\r\n"; }));
  }
  window_.reset();
  list_ = PlayListModel();
  window_ = Make();
  window_->RestoreLastList();
  EXPECT_EQ(list_.paths(), (Paths{"/b.mid", "/a.kar"}));
  EXPECT_EQ(list_.current(), 0);
  EXPECT_EQ(list_.playing(), 0);
  EXPECT_TRUE(played_.empty());
}

TEST_F(PlayListTest, TheListIsKeptWhenTheProgramEnds) {
  Show({});
  window_->RestoreLastList();
  Add({"/a.mid"});
  quitting_ = true;
  window_->close();
  EXPECT_EQ(folder_.Read("Vexolo.zvp"), "/a.mid\r\n");
}

// ---- Many entries

class ManySongsTest : public PlayListTest {
 protected:
  static constexpr int kMany = 10'000;
  static constexpr auto kLimit = 300ms;

  static Paths ManySongs() { return Numbered("/music/album é/songs of the year", kMany); }
  /// The time that it takes until the window shows the result.
  template <typename Action>
  void ExpectQuick(const char* what, Action action) {
    const auto start = Clock::now();
    action();
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents, 0);
    window_->view().viewport()->repaint();
    const auto taken = Clock::now() - start;
    RecordProperty(what, static_cast<int>(taken / 1ms));
    EXPECT_LT(taken, kLimit) << what;
  }
};

TEST_F(ManySongsTest, AreAddedShuffledSavedLoadedMovedAndRemovedQuickly) {
  Show({});
  files_.answers = {ManySongs(), {folder_ / "x.zvp"}, {folder_ / "x.zvp"}};
  ExpectQuick("add_ms", [this] { Click(0); });
  EXPECT_EQ(Names().size(), kMany);
  ExpectQuick("shuffle_ms", [this] { Click(3); });
  ExpectQuick("save_ms", [this] { Click(5); });
  const Paths saved = list_.paths();
  ExpectQuick("empty_ms", [this] { Click(2); });
  ExpectQuick("load_ms", [this] { Click(4); });
  EXPECT_EQ(list_.paths(), saved);
  Places every_other;
  for (int place = 1; place <= kMany; place += 2) every_other.push_back(place);
  ExpectQuick("select_ms", [&] { Select(every_other); });
  ExpectQuick("move_ms", [this] { EXPECT_TRUE(DragSelected(2, false)); });
  ExpectQuick("remove_ms", [this] { Click(1); });
  EXPECT_EQ(list_.count(), kMany / 2);
}

TEST_F(ManySongsTest, ScrollSmoothly) {
  Show({});
  Add(ManySongs());
  window_->Refresh();
  QScrollBar& bar = *window_->view().verticalScrollBar();
  std::vector<double> frames;
  for (int i = 0; i < 100; ++i) {
    const auto start = Clock::now();
    bar.setValue(bar.maximum() / 100 * i);
    window_->view().viewport()->repaint();
    frames.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
  }
  std::sort(frames.begin(), frames.end());
  RecordProperty("median_frame_us", static_cast<int>(frames[50] * 1000));
  RecordProperty("p95_frame_us", static_cast<int>(frames[95] * 1000));
  EXPECT_LT(frames[50], 16);
}

TEST_F(ManySongsTest, TheWindowAnswersWhileSongsAreRead) {
  Show({});
  Add(ManySongs());
  window_->Refresh();
  auto last = Clock::now();
  auto longest = Clock::duration::zero();
  QTimer ticker;
  QObject::connect(&ticker, &QTimer::timeout, [&] {
    const auto now = Clock::now();
    longest = std::max(longest, now - last);
    last = now;
  });
  ticker.start(1);
  last = Clock::now();
  EXPECT_TRUE(QTest::qWaitFor(
      [this] {
        return window_->count_text().contains("chansons – ") &&
               !window_->count_text().contains("lecture");
      },
      30'000));
  RecordProperty("longest_gap_us", static_cast<int>(longest / 1us));
  EXPECT_LT(longest, 200ms);
}

}  // namespace
}  // namespace vexolo
