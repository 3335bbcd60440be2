// layer: gui
#include "convert/conversion_dialog.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QTimer>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "convert/bitrates.h"
#include "convert/genres.h"
#include "fakes/cut_texts.h"
#include "fakes/fake_file_dialogs.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"
#include "widgets/elided_label.h"
#include "widgets/skin.h"

namespace vexolo {
namespace {

using std::chrono::year_month_day;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr year_month_day kDay{std::chrono::year(2009), std::chrono::month(3), std::chrono::day(5)};

class TagsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ini_.WriteIni("Wave", "SaveFolder", "/music/");
    ini_.WriteIni("Wave", "SaveScheme", "%A - %T");
  }

  void Open(bool confirms_itself = false,
            const SongIdentity& song = {"Édith", "L'été", "/songs/Ma chanson.kar"}) {
    form_ = std::make_unique<ConversionForm>(ini_, song, kDay, ProgramVersion{1, 4});
    dialog_ = std::make_unique<Tags>(context_, *form_, confirms_itself);
    dialog_->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog_.get()));
    dialog_->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(dialog_.get()));
  }
  template <typename Control>
  Control* Find(const char* name) const {
    auto* control = dialog_->findChild<Control*>(name);
    EXPECT_NE(control, nullptr) << name;
    return control;
  }
  QLineEdit* Box(const char* name) const { return Find<QLineEdit>(name); }
  void Click(const char* name) { QTest::mouseClick(Find<QWidget>(name), Qt::LeftButton); }
  void Type(const char* name, const QString& text) {
    Box(name)->setFocus();
    Box(name)->selectAll();
    QTest::keyClicks(Box(name), text);
    if (text.isEmpty()) QTest::keyClick(Box(name), Qt::Key_Delete);
  }
  /// As a user does: opens the list, goes to the entry and takes it.
  void Choose(const char* name, int place) {
    auto* list = Find<QComboBox>(name);
    list->setFocus();
    const int steps = place - list->currentIndex();
    for (int i = 0; i < std::abs(steps); ++i) {
      QTest::keyClick(list, steps > 0 ? Qt::Key_Down : Qt::Key_Up);
    }
  }
  std::string Preview() const { return Find<ElidedLabel>("Preview")->full_text().toStdString(); }
  std::string Stored(const char* section, const char* key) { return ini_.ReadIni(section, key); }

  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  FakeFileDialogs files_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  Skin skin_;
  std::string language_file_ = std::string(VEXOLO_SOURCES) + "/src/resources/languages/fr.lng";
  std::atomic<bool> quitting_{false};
  WindowContext context_{ini_, skin_, boxes_, files_, language_file_, quitting_};
  std::unique_ptr<ConversionForm> form_;
  std::unique_ptr<Tags> dialog_;
};

TEST_F(TagsTest, ABoxThatLosesTheFocusWithTheDialogCallsNobody) {
  Open();
  Type("RecFolder", "/tmp");
  ASSERT_TRUE(QTest::qWaitFor([&] { return Box("RecFolder")->hasFocus(); }));
  dialog_.reset();
  EXPECT_EQ(form_->boxes.folder, "/tmp") << "a separator comes with the folder's validation";
}

// ---- What is shown

TEST_F(TagsTest, ListsHoldTheirEntriesInOrder) {
  Open();
  const auto* rates = Find<QComboBox>("ComboKbps");
  ASSERT_EQ(rates->count(), static_cast<int>(kBitrates.size()));
  EXPECT_EQ(rates->itemText(0), "32");
  EXPECT_EQ(rates->itemText(13), "320");
  EXPECT_EQ(rates->currentText(), "128");
  const auto* genres = Find<QComboBox>("ComboGenre");
  ASSERT_EQ(genres->count(), 149);
  EXPECT_EQ(genres->itemText(0), "(aucun)");
  EXPECT_EQ(genres->itemText(1), "A Cappella");
  EXPECT_EQ(genres->itemText(148), "Vocal");
  EXPECT_EQ(genres->currentIndex(), 0);
}

TEST_F(TagsTest, WhatIsStoredComesBack) {
  ini_.WriteIni("Wave", "Encoding", "2");
  ini_.WriteIni("Wave", "Rate", "192");
  ini_.WriteIni("Lyrics", "MakeFile", "0");
  ini_.WriteIni("Lyrics", "MaxLength", "40");
  ini_.WriteIni("Tags", "Album", "Mes chants");
  ini_.WriteIni("Tags", "Année", "1958");
  ini_.WriteIni("Tags", "Piste", "3");
  ini_.WriteIni("Tags", "Genre", "Chanson");
  Open();
  EXPECT_TRUE(Find<QRadioButton>("OptionOgg")->isChecked());
  EXPECT_FALSE(Find<QRadioButton>("OptionWav")->isChecked());
  EXPECT_EQ(Find<QComboBox>("ComboKbps")->currentText(), "192");
  EXPECT_FALSE(Find<QCheckBox>("CheckKOK")->isChecked());
  EXPECT_EQ(Box("LyricsMax")->text(), "40");
  EXPECT_EQ(Box("TextAlbum")->text(), "Mes chants");
  EXPECT_EQ(Box("Year")->text(), "1958");
  EXPECT_EQ(Box("TextPiste")->text(), "3");
  EXPECT_EQ(Find<QComboBox>("ComboGenre")->currentText(), "Chanson");
  EXPECT_EQ(Box("RecFolder")->text(), "/music/");
  EXPECT_EQ(Box("Scheme")->text(), "%A - %T");
}

TEST_F(TagsTest, EmptyBoxesAreFilledFromTheSong) {
  ini_.WriteIni("Tags", "Artiste", "Moi");
  Open();
  EXPECT_EQ(Box("TextArtiste")->text(), "Moi");
  EXPECT_EQ(Box("TextTitre")->text(), "L'été");
  EXPECT_EQ(Box("TextCommentaire")->text(),
            "Converti de Ma chanson.kar le 05/03/2009 avec Vexolo V1.4");
}

TEST_F(TagsTest, ARateThatIsNotInTheListSelectsNothing) {
  ini_.WriteIni("Wave", "Rate", "100");
  ini_.WriteIni("Wave", "Encoding", "1");
  Open();
  EXPECT_EQ(Find<QComboBox>("ComboKbps")->currentIndex(), -1);
  Click("Validation");
  EXPECT_EQ(Stored("Wave", "Rate"), "");
}

TEST_F(TagsTest, ThePreviewFollowsWhatIsTypedAndChosen) {
  Open();
  EXPECT_THAT(Preview(), HasSubstr("/music/Édith - L'été.wav"));
  Click("OptionMP3");
  EXPECT_THAT(Preview(), HasSubstr("/music/Édith - L'été.mp3"));
  Type("Scheme", "%t/%a");
  EXPECT_THAT(Preview(), HasSubstr("/music/L'été/Édith.mp3"));
  Type("TextArtiste", "Moi");
  EXPECT_THAT(Preview(), HasSubstr("/music/L'été/Moi.mp3"));
  Type("RecFolder", "/tmp");
  EXPECT_THAT(Preview(), HasSubstr("/tmp/L'été/Moi.mp3"));
}

TEST_F(TagsTest, WithoutASongThereIsNoPreview) {
  Open(false, {});
  EXPECT_EQ(Preview(), "");
  EXPECT_EQ(Box("TextCommentaire")->text(), "");
}

TEST_F(TagsTest, BitrateAndLineLengthAreThereWhereTheyHaveASay) {
  Open();
  EXPECT_FALSE(Find<QComboBox>("ComboKbps")->isEnabled());
  Click("OptionOgg");
  EXPECT_TRUE(Find<QComboBox>("ComboKbps")->isEnabled());
  EXPECT_TRUE(Box("LyricsMax")->isEnabled());
  Find<QCheckBox>("CheckKOK")->click();
  EXPECT_FALSE(Box("LyricsMax")->isEnabled());
}

// ---- Buttons and keys

TEST_F(TagsTest, ValidationStoresEverythingAndConfirmsThisSong) {
  Open();
  Click("OptionMP3");
  Choose("ComboKbps", 12);
  Type("TextArtiste", "A");
  Type("TextTitre", "T");
  Type("TextAlbum", "L");
  Type("Year", "1958");
  Type("TextPiste", "3");
  Choose("ComboGenre", 2);
  Type("TextCommentaire", "C");
  Type("RecFolder", "/chants");
  Type("Scheme", "%T");
  Type("LyricsMax", "40");
  Click("Validation");
  EXPECT_FALSE(dialog_->isVisible());
  EXPECT_TRUE(form_->confirmed());
  EXPECT_FALSE(form_->convert_all());
  const ConversionSettings stored = LoadConversionSettings(ini_);
  EXPECT_EQ(stored.format, AudioFormat::kMp3);
  EXPECT_EQ(stored.rate, "256");
  EXPECT_EQ(stored.tags, (SongTags{"A", "T", "L", "1958", "3", "Acid", "C"}));
  EXPECT_EQ(stored.folder, "/chants/");
  EXPECT_EQ(stored.scheme, "%T");
  EXPECT_EQ(stored.max_line_length, 40);
  EXPECT_TRUE(stored.make_lyrics_file);
}

TEST_F(TagsTest, TousConfirmsForTheWholeList) {
  Open();
  Click("Tous");
  EXPECT_FALSE(dialog_->isVisible());
  EXPECT_TRUE(form_->confirmed());
  EXPECT_TRUE(form_->convert_all());
}

TEST_F(TagsTest, EnterConvertsFromAnyBox) {
  for (const char* name : {"Scheme", "TextTitre", "TextCommentaire"}) {
    Open();
    Box(name)->setFocus();
    QTest::keyClick(Box(name), Qt::Key_Return);
    EXPECT_TRUE(form_->confirmed()) << name;
    EXPECT_FALSE(form_->convert_all()) << name;
  }
}

TEST_F(TagsTest, EscapeAndAbandonLeaveWithoutStoring) {
  const std::string before = folder_.Read("Vexolo.ini");
  Open();
  Type("TextArtiste", "typed");
  QTest::keyClick(dialog_.get(), Qt::Key_Escape);
  EXPECT_FALSE(dialog_->isVisible());
  EXPECT_FALSE(form_->confirmed());
  Open();
  Type("Scheme", "typed");
  Click("Abandon");
  EXPECT_FALSE(dialog_->isVisible());
  EXPECT_FALSE(form_->confirmed());
  EXPECT_EQ(folder_.Read("Vexolo.ini"), before);
}

TEST_F(TagsTest, LeavingTheFoldersBoxPutsASeparatorAtItsEnd) {
  Open();
  Type("RecFolder", "/chants");
  EXPECT_EQ(Box("RecFolder")->text(), "/chants");
  QTest::keyClick(Box("RecFolder"), Qt::Key_Tab);
  EXPECT_EQ(Box("RecFolder")->text(), "/chants/");
  Type("RecFolder", "");
  QTest::keyClick(Box("RecFolder"), Qt::Key_Tab);
  EXPECT_EQ(Box("RecFolder")->text(), "");
}

TEST_F(TagsTest, BrowsingReplacesTheFolderAndAnEmptyAnswerLeavesIt) {
  files_.answers = {{"/chants/noel"}, {}};
  Open();
  Click("Browse");
  EXPECT_EQ(Box("RecFolder")->text(), "/chants/noel/");
  EXPECT_THAT(Preview(), HasSubstr("/chants/noel/Édith - L'été.wav"));
  Click("Browse");
  EXPECT_EQ(Box("RecFolder")->text(), "/chants/noel/");
  ASSERT_EQ(files_.asked.size(), 2U);
  EXPECT_EQ(files_.asked[0].folder, "/music/");
  EXPECT_FALSE(files_.asked[0].title.empty());
  EXPECT_TRUE(dialog_->isVisible());
}

TEST_F(TagsTest, EnterOnTheButtonBrowsesAndConvertsNothing) {
  files_.answers = {{"/chants/noel"}};
  Open();
  Find<QPushButton>("Browse")->setFocus();
  QTest::keyClick(Find<QPushButton>("Browse"), Qt::Key_Return);
  EXPECT_EQ(Box("RecFolder")->text(), "/chants/noel/");
  EXPECT_FALSE(form_->confirmed());
  EXPECT_TRUE(dialog_->isVisible());
}

TEST_F(TagsTest, AnEmptyFolderTellsWhereTheFileGoes) {
  Open();
  Type("RecFolder", "");
  EXPECT_EQ(Box("RecFolder")->placeholderText(), "à côté de la chanson");
}

TEST_F(TagsTest, ALongListShowsSixteenEntriesAtATime) {
  Open();
  auto* genres = Find<QComboBox>("ComboGenre");
  genres->showPopup();
  const int row = genres->view()->sizeHintForRow(0);
  EXPECT_NEAR(genres->view()->window()->height(), 16 * row, row);
  genres->hidePopup();
}

TEST_F(TagsTest, AFolderThatCannotBeStoredIsRefusedAndTheDialogStays) {
  const std::string deep = "/" + std::string(200, 'a');
  files_.answers = {{deep}};
  Open();
  Click("Browse");
  EXPECT_EQ(boxes_.shown.size(), 1U);
  EXPECT_EQ(Box("RecFolder")->text(), "/music/");
  Type("RecFolder", QString::fromStdString(deep));
  Click("Validation");
  EXPECT_EQ(boxes_.shown.size(), 2U);
  EXPECT_TRUE(dialog_->isVisible());
  EXPECT_FALSE(form_->confirmed());
}

TEST_F(TagsTest, ALineLengthOf150OrMinus3BecomesNone) {
  for (const char* typed : {"150", "-3"}) {
    Open();
    Type("LyricsMax", typed);
    Click("Validation");
    EXPECT_EQ(Stored("Lyrics", "MaxLength"), "0") << typed;
    EXPECT_EQ(Box("LyricsMax")->text(), "0") << typed;
  }
}

TEST_F(TagsTest, BoxesTakeWhatTheSettingsCanGiveBack) {
  Open();
  Type("TextAlbum", QString(200, 'a'));
  EXPECT_EQ(Box("TextAlbum")->text().size(), 128);
}

TEST_F(TagsTest, TabGoesThroughTheControlsInReadingOrder) {
  ini_.WriteIni("Wave", "Encoding", "1");
  Open();
  Find<QWidget>("OptionMP3")->setFocus();
  std::vector<std::string> order;
  for (int i = 0; i < 17; ++i) {
    order.push_back(QApplication::focusWidget()->objectName().toStdString());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
  }
  EXPECT_THAT(order, ElementsAre("OptionMP3", "ComboKbps", "RecFolder", "Browse", "Scheme",
                                 "TextArtiste", "TextTitre", "TextAlbum", "Year", "TextPiste",
                                 "ComboGenre", "TextCommentaire", "CheckKOK", "LyricsMax", "Tous",
                                 "Validation", "Abandon"));
}

TEST_F(TagsTest, AltAndALetterGoToABox) {
  Open();
  QTest::keyClick(dialog_.get(), Qt::Key_D, Qt::AltModifier);
  EXPECT_TRUE(Box("RecFolder")->hasFocus());
  QTest::keyClick(dialog_.get(), Qt::Key_V, Qt::AltModifier);
  EXPECT_TRUE(QTest::qWaitFor([this] { return Find<QRadioButton>("OptionOgg")->isChecked(); }));
}

// ---- The whole list

TEST_F(TagsTest, ADialogThatConfirmsItselfAppearsAndCloses) {
  Open(true);
  EXPECT_TRUE(dialog_->isVisible());
  EXPECT_FALSE(form_->confirmed()) << "it is seen first";
  EXPECT_FALSE(Find<QLabel>("ConfirmAll")->text().isEmpty());
  EXPECT_TRUE(QTest::qWaitFor([this] { return !dialog_->isVisible(); }, 2000));
  EXPECT_TRUE(form_->confirmed());
  EXPECT_TRUE(form_->convert_all());
}

TEST_F(TagsTest, ADialogThatIsAskedForWaitsForItsUser) {
  Open();
  QTest::qWait(3 * Tags::kTimerInterval);
  EXPECT_TRUE(dialog_->isVisible());
  EXPECT_TRUE(Find<QLabel>("ConfirmAll")->text().isEmpty());
}

TEST_F(TagsTest, AbandonComesBeforeTheTimer) {
  Open(true);
  QTest::keyClick(dialog_.get(), Qt::Key_Escape);
  QTest::qWait(3 * Tags::kTimerInterval);
  EXPECT_FALSE(form_->confirmed());
}

// ---- Look

TEST_F(TagsTest, NoLanguageIsCutAndEveryControlHasNameAndTooltip) {
  for (const char* code : {"fr", "en", "es", "de"}) {
    language_file_ = std::string(VEXOLO_SOURCES) + "/src/resources/languages/" + code + ".lng";
    for (const bool itself : {false, true}) {
      Open(itself);
      EXPECT_THAT(CutTexts(*dialog_), IsEmpty()) << code;
      EXPECT_THAT(UnnamedControls(*dialog_), IsEmpty()) << code;
      for (const auto* box : dialog_->findChildren<QLineEdit*>()) {
        EXPECT_FALSE(box->toolTip().isEmpty()) << box->objectName().toStdString();
      }
      if (const char* folder = std::getenv("VEXOLO_SCREENSHOTS")) {
        dialog_->grab().save(
            QString("%1/conversion-%2%3.png").arg(folder, code, itself ? "-all" : ""));
      }
    }
  }
}

}  // namespace
}  // namespace vexolo
