// layer: gui
#include "about/about_dialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <cstdlib>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "about/about_texts.h"
#include "about/system_info_dialog.h"
#include "fakes/cut_texts.h"
#include "fakes/fake_file_dialogs.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/fake_registry.h"
#include "fakes/temporary_folder.h"
#include "platform/system_facts.h"
#include "widgets/skin.h"

namespace vexolo {
namespace {

using ::testing::IsEmpty;

constexpr const char* kLanguages[] = {"fr", "en", "de", "es"};

class AboutDialogsTest : public ::testing::Test {
 protected:
  static std::string File(const std::string& code) {
    return VEXOLO_SOURCES + std::string("/src/resources/languages/") + code + ".lng";
  }
  std::unique_ptr<About> Open() {
    auto about = std::make_unique<About>(context_, [this] { StartSysInfoTool(); });
    about->Open();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(about.get()));
    return about;
  }
  void StartSysInfoTool() {
    StartSysInfo(
        registry_,
        [this](const std::string& path) {
          started_.push_back(path);
          return true;
        },
        boxes_);
  }
  template <typename Control>
  static Control* Find(const QDialog& dialog, const char* name) {
    auto* control = dialog.findChild<Control*>(name);
    EXPECT_NE(control, nullptr) << name;
    return control;
  }
  static void Click(const QDialog& dialog, const char* name) {
    auto* control = Find<QWidget>(dialog, name);
    QTest::mouseClick(control, Qt::LeftButton, {}, QPoint(10, control->height() / 2));
  }
  static std::string TextOf(const QDialog& dialog, const char* name) {
    return Find<QLabel>(dialog, name)->text().toStdString();
  }
  std::string AtOpen() { return ini_.ReadIni("Vexolo", "AboutAtOpen"); }

  /// With VEXOLO_SHOTS set, what is looked at is also kept there as pictures.
  static void Keep(QWidget& window, const std::string& name) {
    if (const char* folder = std::getenv("VEXOLO_SHOTS")) {
      window.grab().save(QString::fromStdString(std::string(folder) + "/" + name + ".png"));
    }
  }

  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  FakeFileDialogs files_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  Skin skin_;
  std::string language_file_ = File("fr");
  std::atomic<bool> quitting_{false};
  WindowContext context_{ini_, skin_, boxes_, files_, language_file_, quitting_};
  FakeRegistry registry_;
  std::vector<std::string> started_;
};

TEST_F(AboutDialogsTest, TheBoxSaysWhatTheLanguageFileSays) {
  const auto about = Open();
  EXPECT_EQ(about->windowTitle(), "À propos de Vexolo");
  const LanguageSection texts = context_.Section("About");
  EXPECT_EQ(TextOf(*about, "Version"), VersionText(texts));
  EXPECT_EQ(TextOf(*about, "Description"), texts.Message("Description"));
  EXPECT_EQ(TextOf(*about, "Copyright"), texts.Message("Copyright"));
  EXPECT_EQ(TextOf(*about, "CopyrightInfo"), CreditsText(texts));
  EXPECT_EQ(TextOf(*about, "DisclaimerText"), DisclaimerText(texts));
  EXPECT_EQ(Find<QCheckBox>(*about, "chkOK")->text(), "&Afficher au démarrage");
  EXPECT_EQ(Find<QPushButton>(*about, "cmdOK")->text(), "&Fermer");
  EXPECT_EQ(Find<QPushButton>(*about, "cmdSysInfo")->text(), "&Informations système…");
}

TEST_F(AboutDialogsTest, AnotherLanguageIsTakenAtOnce) {
  const auto about = Open();
  language_file_ = File("de");
  about->LoadLanguage();
  EXPECT_EQ(about->windowTitle(), "Über Vexolo");
  EXPECT_EQ(Find<QCheckBox>(*about, "chkOK")->text(), "Beim &Start anzeigen");
}

TEST_F(AboutDialogsTest, WhetherItIsShownAtOpenIsKeptWhenTheBoxCloses) {
  auto about = Open();
  auto* box = Find<QCheckBox>(*about, "chkOK");
  EXPECT_FALSE(box->isChecked());
  Click(*about, "chkOK");
  EXPECT_TRUE(box->isChecked());
  EXPECT_EQ(AtOpen(), "") << "not before it closes";
  Click(*about, "cmdOK");
  EXPECT_FALSE(about->isVisible());
  EXPECT_EQ(AtOpen(), "1");

  about->Open();
  EXPECT_TRUE(box->isChecked());
  QTest::keyClick(box, Qt::Key_Space);
  QTest::keyClick(about.get(), Qt::Key_Escape);
  EXPECT_FALSE(about->isVisible());
  EXPECT_EQ(AtOpen(), "0");

  about->Open();
  box->setChecked(true);
  about->close();
  EXPECT_EQ(AtOpen(), "1");

  about->Open();
  box->setChecked(false);
  about.reset();
  EXPECT_EQ(AtOpen(), "0") << "the program ends while the box is open";
}

TEST_F(AboutDialogsTest, WithoutAToolTheMessageIsShown) {
  Click(*Open(), "cmdSysInfo");
  EXPECT_TRUE(started_.empty());
  ASSERT_EQ(boxes_.shown.size(), 1u);
  EXPECT_EQ(boxes_.shown[0].text, "Les informations système ne sont pas disponibles actuellement");
  EXPECT_EQ(boxes_.shown[0].icon, BoxIcon::kInformation);
}

TEST_F(AboutDialogsTest, WithoutTheToolsFileTheMessageIsShown) {
  registry_.values[{"SOFTWARE\\Microsoft\\Shared Tools Location", "MSINFO"}] = folder_.path();
  const auto about = Open();
  Click(*about, "cmdSysInfo");
  EXPECT_TRUE(started_.empty());
  EXPECT_EQ(boxes_.shown.size(), 1u);
  const std::string tool = folder_.Write("MSINFO32.EXE", "");
  Click(*about, "cmdSysInfo");
  EXPECT_EQ(started_, std::vector<std::string>{tool});
  EXPECT_EQ(boxes_.shown.size(), 1u);
  EXPECT_TRUE(about->isVisible());
}

TEST_F(AboutDialogsTest, ReturnCloses) {
  const auto about = Open();
  QTest::keyClick(about.get(), Qt::Key_Return);
  EXPECT_FALSE(about->isVisible());
}

TEST_F(AboutDialogsTest, NoTextIsCutInAnyLanguage) {
  for (const std::string code : kLanguages) {
    language_file_ = File(code);
    const auto about = Open();
    QTest::qWait(20);
    EXPECT_THAT(CutTexts(*about), IsEmpty()) << code;
    EXPECT_THAT(UnnamedControls(*about), IsEmpty()) << code;
    Keep(*about, "about-" + code);
  }
}

SystemInfo Example() {
  SystemInfo info;
  info.machine = {"Debian GNU/Linux 12 (bookworm)", "Linux 6.1.0-18-amd64 x86_64",
                  "A processor of 2.80 GHz with a rather long name", 8, 16ull << 30};
  info.sound_device = "default (ALSA)";
  info.open_gl = DescribeOpenGl();
  info.toolkit = ToolkitVersion();
  info.library_version = 0x02040000;
  info.components = {"FluidSynth 2.3.1", "RtAudio 5.2.0"};
  info.bank =
      "/home/somebody/Music/a folder/another folder/and one more folder for all the banks/"
      "a bank of general sounds.sf2";
  info.ogg_enc = "/usr/lib/vexolo/oggenc";
  return info;
}

std::vector<std::string> ValuesOf(const QDialog& dialog) {
  std::vector<std::string> values;
  for (const auto* label : dialog.findChildren<QLabel*>()) {
    if (!label->accessibleName().isEmpty()) {
      values.push_back(label->text().remove(QChar(0x200B)).toStdString());
    }
  }
  return values;
}

TEST_F(AboutDialogsTest, TheFactsAreShownAndCopied) {
  SystemInfoDialog dialog(context_);
  dialog.Open(Example());
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
  EXPECT_EQ(dialog.windowTitle(), "Informations système");
  const auto rows = SystemInfoRows(context_.Section("SysInfo"), Example(), '.');
  std::vector<std::string> expected;
  for (const SystemInfoRow& row : rows) expected.push_back(row.value);
  EXPECT_EQ(ValuesOf(dialog), expected);
  Click(dialog, "Copy");
  EXPECT_EQ(QApplication::clipboard()->text().toStdString(), SystemInfoText(rows));
  EXPECT_EQ(Find<QPushButton>(dialog, "Copy")->text(), "Copié\u00a0!");
  EXPECT_TRUE(QTest::qWaitFor(
      [&] { return Find<QPushButton>(dialog, "Copy")->text() == "&Copier"; }, 5000));
  Click(dialog, "Close");
  EXPECT_FALSE(dialog.isVisible());
}

TEST_F(AboutDialogsTest, OtherFactsReplaceTheOnesShown) {
  SystemInfoDialog dialog(context_);
  dialog.Open(Example());
  SystemInfo info = Example();
  info.bank = "/other.sf2";
  dialog.Open(info);
  EXPECT_THAT(ValuesOf(dialog), ::testing::Contains("/other.sf2"));
  EXPECT_EQ(ValuesOf(dialog).size(), 11u);
}

TEST_F(AboutDialogsTest, NoFactIsCutInAnyLanguage) {
  for (const std::string code : kLanguages) {
    language_file_ = File(code);
    SystemInfoDialog dialog(context_);
    dialog.Open(Example());
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    QTest::qWait(20);
    EXPECT_THAT(CutTexts(dialog), IsEmpty()) << code;
    EXPECT_THAT(UnnamedControls(dialog), IsEmpty()) << code;
    Keep(dialog, "about-system-" + code);
  }
}

TEST(DescribeOpenGl, NamesAVersionWhereThereIsOne) {
  const std::string description = DescribeOpenGl();
  if (description.empty()) GTEST_SKIP() << "no OpenGL here";
  EXPECT_THAT(description, ::testing::ContainsRegex("^[0-9]"));
}

}  // namespace
}  // namespace vexolo
