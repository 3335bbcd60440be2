/// The main window.
#pragma once

#include <QTimer>
#include <QWidget>
#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/companions.h"
#include "app/main_display_widget.h"
#include "app/main_keys.h"
#include "app/main_panel_widget.h"
#include "app/main_timer.h"
#include "app/other_window.h"
#include "app/program.h"
#include "app/start_up.h"
#include "app/transport.h"
#include "widgets/skin.h"
#include "widgets/translation.h"
#include "widgets/window_context.h"

namespace vexolo {

/// Lives for the whole run and owns the other windows. Window thread only.
class frmMidiTest : public QWidget, private StartUpWindows, private CompanionView {
 public:
  /// `program` must outlive this object.
  frmMidiTest(Program& program, OtherWindows others);
  ~frmMidiTest() override;

  /// Starts the program; false where it has to end at once (a message has said why). ShutDown is
  /// to be called in either case.
  bool Start();
  /// Ends the program: audio first, then the windows. Once.
  void ShutDown();

  // What the buttons do.

  void Action_ChangeSF();
  void Action_Help();
  void Action_Lyrics() { toggles_.Toggle(Companion::kLyrics); }
  void Action_Next();
  void Action_Prev();
  void Action_Play() override;
  void Action_PlaySelected(int place);
  void Action_Stop();
  void Action_Repeat() { transport_.Action_Repeat(); }
  void Action_Playlist() { toggles_.Toggle(Companion::kPlayList); }
  void Action_Punch() { transport_.Action_Punch(); }
  void Action_PunchIn();
  void Action_PunchOut();
  void Action_Record();
  void Action_Reglage() { toggles_.Toggle(Companion::kReglage); }
  void Action_Reverb() { toggles_.Toggle(Companion::kReverb); }
  void Action_Setup();
  void Action_OpenSongs();
  void Action_About();
  /// Tells what the bank in use says of itself.
  void SfInfo_Click();
  /// Loads a bank that was chosen elsewhere, beside the window.
  void ChangeSF2(const std::string& path);
  /// Adds files that were dropped, or chosen, and plays the last one.
  void GereDrop(const std::vector<std::string>& paths);
  /// Shows or hides the lyric window.
  void LyricsShow(bool show);
  void BougeFilles() override;

  /// `LoadLanguage` of every window that is there.
  void LoadLanguage() override;
  /// The channels' levels are sent again and the strips drawn, after AutoMute has been switched.
  void AutoMuteSwitched();
  /// `TimerEncodage`; off at first.
  void EnableTimerEncodage(bool enabled);
  /// While a song is converted, what would disturb that cannot be used.
  void EnableForConversion();

  /// For other windows; valid from their making on.
  WindowContext context();
  Program& program() { return program_; }
  Transport& transport() { return transport_; }
  MainDisplay& display() { return display_; }
  MainPanelWidget& panel() { return *panel_; }
  CompanionWindow* companion(Companion companion);

 protected:
  bool event(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  // Start and end, in their order.
  void ChooseFirstLanguage() override;
  bool BuildSkin() override;
  void DrawKnobs() override { display_.DrawKnobs(); }
  void DispSoloMute() override { display_.DispSoloMute(); }
  void RestorePlace() override;
  void CreateCompanion(Companion companion) override;
  void* ShowMainWindow() override;
  void ShowCompanionAgain(Companion companion) override { toggles_.ShowAgain(companion); }
  void DispMix() override { display_.DrawMix(); }
  void AfficherMarqueurs() override { display_.AfficherMarqueurs(); }
  void ChooseBank() override;
  void ShowTitle(const std::string& song_path) override { display_.ShowTitle(song_path); }
  void RestoreLastList() override;
  void ProcessMessages() override;
  void StopTimers() override;
  void UnloadCompanion(Companion companion) override;
  void UnloadDialogs() override;
  void UnhookWindows() override;
  void ReleaseSkin() override;

  // For the toggles.
  bool IsShown(Companion companion) const override;
  void SetShown(Companion companion, bool shown) override;
  void MoveToFreePlace(CompanionWindow& window);
  void DrawFace(Companion companion, bool pressed) override {
    display_.DrawFace(companion, pressed);
  }

  void ConnectPanel();
  void ConnectDisplay();
  void ConnectTimers();
  void MarkMissingWindows();
  void ClickButton(int index);
  void PressKnob(int index, int mouse_button, QPointF at);
  void MoveKnob(QPointF at);
  void ReleaseKnob();
  void StepKnob(int index, int steps, bool fine);
  void KnobTurned(int index, double old_factor);
  void RunCommand(MainCommand command);
  void SeekBy(double seconds);
  void BankLoadingChanged(bool loading);
  std::optional<std::string> AskTime(const std::string& proposed);
  void SavePlace();

  PluggedCompanion& plugged(Companion companion) {
    return companions_[static_cast<std::size_t>(companion)];
  }

  Program& program_;
  const OtherWindows others_;
  Skin skin_;
  ToolkitTranslation translation_;
  MainPanelWidget* panel_;
  MainDisplay display_;
  Transport transport_;
  MainTimer main_timer_;
  CompanionToggles toggles_;
  StartUp start_up_;
  QTimer tmrMidiTest;
  QTimer TimerEncodage;
  QTimer save_place_timer_;
  std::array<PluggedCompanion, kCompanions.size()> companions_;
  PluggedOptions options_;
  PluggedAbout about_;
  PluggedConversion conversion_;
  std::optional<QPoint> last_place_;  ///< that the companions have followed to
  const char* asked_marker_ = "";     ///< what the time dialog asks for
  int pressed_with_ = 1;              ///< mouse button, on the panel
  bool is_shut_down_ = false;
};

}  // namespace vexolo
