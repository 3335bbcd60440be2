#include "app/main_window.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QScreen>
#include <utility>

#include "about/about_texts.h"
#include "app/dropped_songs.h"
#include "app/free_place.h"
#include "app/help_page.h"
#include "app/main_place.h"
#include "app/time_dialog.h"
#include "mixer/channel_strips.h"
#include "mixer/sound_font_info.h"
#include "platform/paths.h"
#include "playlist/list_file.h"
#include "playlist/play_list_window.h"
#include "widgets/dropped_data.h"
#include "widgets/held_control.h"

namespace vexolo {
namespace {

constexpr int kEncodingInterval = 250;  // milliseconds
constexpr int kSavePlaceDelay = 200;    // a drag moves the window many times a second
constexpr int kFirstPaintTime = 50;     // at most, before the audio library is started

constexpr const char* kStartMarker = "Start";  // of section "Temps"
constexpr const char* kEndMarker = "End";

struct ButtonAction {
  int button;
  void (frmMidiTest::*action)();
};
constexpr std::array<ButtonAction, 16> kButtonActions = {{
    {32, &frmMidiTest::Action_Prev},
    {33, &frmMidiTest::Action_Play},
    {34, &frmMidiTest::Action_Stop},
    {35, &frmMidiTest::Action_Next},
    {36, &frmMidiTest::Action_Record},
    {37, &frmMidiTest::Action_Lyrics},
    {38, &frmMidiTest::Action_Punch},
    {39, &frmMidiTest::Action_PunchIn},
    {40, &frmMidiTest::Action_PunchOut},
    {41, &frmMidiTest::Action_ChangeSF},
    {42, &frmMidiTest::Action_Repeat},
    {43, &frmMidiTest::Action_Reglage},
    {44, &frmMidiTest::Action_Reverb},
    {45, &frmMidiTest::Action_Setup},
    {46, &frmMidiTest::Action_Help},
    {47, &frmMidiTest::Action_Playlist},
}};
constexpr int kRecordButton = 36;
constexpr int kBankButton = 41;
constexpr int kSetupButton = 45;

struct KeyMeaning {
  int toolkit_key;
  int key;
};
constexpr std::array<KeyMeaning, 12> kKeys = {{
    {Qt::Key_F1, kKeyF1},
    {Qt::Key_Space, kKeySpace},
    {Qt::Key_Left, kKeyLeft},
    {Qt::Key_Right, kKeyRight},
    {Qt::Key_Up, kKeyUp},
    {Qt::Key_Down, kKeyDown},
    {Qt::Key_PageUp, kKeyPageUp},
    {Qt::Key_PageDown, kKeyPageDown},
    {Qt::Key_L, kKeyL},
    {Qt::Key_O, kKeyO},
    {Qt::Key_P, kKeyP},
    {Qt::Key_R, kKeyR},
}};

MainCommand CommandOf(const QKeyEvent& event) {
  const Qt::KeyboardModifiers held = event.modifiers() & ~Qt::KeypadModifier;
  const KeyModifiers modifiers = held == Qt::NoModifier        ? KeyModifiers::kNone
                                 : held == Qt::ControlModifier ? KeyModifiers::kCtrl
                                                               : KeyModifiers::kOther;
  for (const KeyMeaning& meaning : kKeys) {
    if (meaning.toolkit_key == event.key()) return CommandOfKey(meaning.key, modifiers);
  }
  return MainCommand::kNone;
}

ScreenArea AreaOf(const QRect& rect) { return {rect.x(), rect.y(), rect.width(), rect.height()}; }

}  // namespace

frmMidiTest::frmMidiTest(Program& program, OtherWindows others)
    : program_(program),
      others_(std::move(others)),
      skin_(Skin::kBuildLater),
      panel_(new MainPanelWidget(skin_, this)),
      display_(program, *panel_),
      transport_({program.api, program.state, program.song_start, program.settings, program.ini,
                  program.env.boxes, display_, &program.lyric_display, program.env.separator}),
      main_timer_(program.api, program.state, display_, program.env.separator),
      toggles_(program.ini, *this),
      start_up_({program.api, program.state, program.binding, program.bank_loader, program.ini,
                 program.settings, program.env.boxes, *this, program.env.program_folder,
                 program.env.command_line, program.env.device}) {
  setMinimumSize(panel_->sizeHint());
  resize(panel_->sizeHint());
  setAcceptDrops(true);
  setFocusPolicy(Qt::ClickFocus);
  ConnectPanel();
  ConnectDisplay();
  ConnectTimers();
  program_.end_of_song.set_listener([this](bass::HSTREAM stream) { transport_.EndOfSong(stream); });
  program_.binding.set_presets_changed([this] {
    for (const PluggedCompanion& other : companions_) {
      if (other.presets_changed) other.presets_changed();
    }
  });
}

frmMidiTest::~frmMidiTest() { ShutDown(); }

// ---- Connections

void frmMidiTest::ConnectPanel() {
  PanelActions& actions = panel_->actions;
  actions.press_button = [this](int index, int mouse_button) {
    pressed_with_ = mouse_button;
    program_.strips.PicSM_MouseDown(index, mouse_button);
  };
  actions.click_button = [this](int index) { ClickButton(index); };
  actions.press_knob = [this](int index, int mouse_button, QPointF at) {
    PressKnob(index, mouse_button, at);
  };
  actions.move_knob = [this](QPointF at) { MoveKnob(at); };
  actions.release_knob = [this] { ReleaseKnob(); };
  actions.step_knob = [this](int index, int steps, bool fine) { StepKnob(index, steps, fine); };
  actions.set_knob = [this](int index, int value) {
    StepKnob(index, value - program_.knobs.Value(index), true);
  };
  actions.open_about = [this] { Action_About(); };
  PositionSlider& slider = panel_->slider();
  slider.on_press = [this] { transport_.SliderPressed(); };
  slider.on_release = [this](int value) {
    transport_.SliderReleased(value, PositionSlider::kMaximum);
    display_.ShowTime();
  };
  slider.on_set = [this](int value) {
    transport_.SliderPressed();
    transport_.SliderReleased(value, PositionSlider::kMaximum);
  };
}

void frmMidiTest::ConnectDisplay() {
  DisplayLinks& links = display_.links;
  links.enable_timer = [this](bool enabled) {
    if (enabled) {
      tmrMidiTest.start();
    } else {
      tmrMidiTest.stop();
    }
  };
  links.ask_time = [this](const std::string& proposed) { return AskTime(proposed); };
  links.set_caption = [this](const QString& caption) { setWindowTitle(caption); };
  links.refresh_channels = [this] {
    for (const PluggedCompanion& other : companions_) {
      if (other.refresh_channels) other.refresh_channels();
    }
  };
  links.mix_drawn = [this] {
    for (const PluggedCompanion& other : companions_) {
      if (other.mix_drawn) other.mix_drawn();
    }
  };
  links.repeat_drawn = [this](int mode) {
    for (const PluggedCompanion& other : companions_) {
      if (other.draw_repeat) other.draw_repeat(mode);
    }
  };
  links.show_bank_info = [this](const std::string& text) {
    if (options_.show_bank_info) options_.show_bank_info(text);
    BankLoadingChanged(program_.bank_loader.loading());
  };
}

void frmMidiTest::ConnectTimers() {
  tmrMidiTest.setInterval(kMainTimerInterval);
  QObject::connect(&tmrMidiTest, &QTimer::timeout, this, [this] {
    program_.end_of_song.Tell();
    main_timer_.Tick();
  });
  TimerEncodage.setInterval(kEncodingInterval);
  QObject::connect(&TimerEncodage, &QTimer::timeout, this, [this] {
    if (conversion_.timer_tick) conversion_.timer_tick();
  });
  save_place_timer_.setSingleShot(true);
  save_place_timer_.setInterval(kSavePlaceDelay);
  QObject::connect(&save_place_timer_, &QTimer::timeout, this, [this] { SavePlace(); });
}

WindowContext frmMidiTest::context() {
  return {program_.ini,
          skin_,
          program_.env.boxes,
          program_.env.files,
          program_.state.language_file,
          program_.state.quitting,
          program_.env.separator};
}

CompanionWindow* frmMidiTest::companion(Companion companion) {
  return plugged(companion).window.get();
}

// ---- Start

bool frmMidiTest::Start() {
  if (!start_up_.Run()) return false;
  if (!program_.state.quitting && IsAboutShownAtOpen(program_.ini)) Action_About();
  return true;
}

void frmMidiTest::ChooseFirstLanguage() {
  if (others_.options) options_ = others_.options(*this);
  if (options_.run_first_start) options_.run_first_start();
  options_ = {};
}

void frmMidiTest::LoadLanguage() {
  const std::string code = StemOf(program_.state.language_file);
  translation_.Use(code + kLanguageExtension == kDefaultLanguageFile ? "fr" : code);
  display_.LoadLanguage(context());
  if (program_.env.guard != nullptr) {
    program_.env.guard->set_no_memory_text(context().Section("Main").Message("NoMemory"));
  }
  main_timer_.set_bank_texts(display_.bank_texts());
  for (const PluggedCompanion& other : companions_) {
    if (other.window) other.window->LoadLanguage();
  }
  if (options_.load_language) options_.load_language();
  if (about_.load_language) about_.load_language();
  if (conversion_.load_language) conversion_.load_language();
}

bool frmMidiTest::BuildSkin() {
  MarkMissingWindows();
  return skin_.Build();
}

void frmMidiTest::MarkMissingWindows() {
  for (const CompanionInfo& info : kCompanions) {
    if (!others_.companions[static_cast<std::size_t>(info.companion)]) {
      display_.SetMissing(info.button);
    }
  }
  if (!others_.options) display_.SetMissing(kSetupButton);
  if (!others_.conversion) display_.SetMissing(kRecordButton);
  panel_->name_plate().setEnabled(static_cast<bool>(others_.about));
  display_.LoadLanguage(context());
}

void frmMidiTest::RestorePlace() {
  const QRect desktop = screen()->virtualGeometry();
  const QSize area = screen()->size();
  const WindowPlace place =
      MainPlace(program_.ini, {width(), height()},
                {{desktop.x(), desktop.y()}, {desktop.width(), desktop.height()}},
                {area.width(), area.height()});
  move(place.x, place.y);
}

void frmMidiTest::CreateCompanion(Companion companion) {
  const auto& make = others_.companions[static_cast<std::size_t>(companion)];
  if (!make) return;
  PluggedCompanion& other = plugged(companion);
  other = make(*this);
  if (other.lyrics != nullptr) program_.lyric_display.set_display(other.lyrics);
  other.window->LoadLanguage();
  other.window->RestorePlace({});
  other.window->set_closed_by_user([this, companion] { toggles_.ClosedByUser(companion); });
}

void* frmMidiTest::ShowMainWindow() {
  if (others_.options) options_ = others_.options(*this);
  if (others_.conversion) conversion_ = others_.conversion(*this);
  transport_.LoadRepeat();
  tmrMidiTest.start();
  show();
  QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents, kFirstPaintTime);
  // The toolkit numbers windows, the audio library takes a pointer.
  return reinterpret_cast<void*>(winId());  // NOLINT(performance-no-int-to-ptr)
}

void frmMidiTest::ChooseBank() {
  if (options_.run_bank_choice) {
    options_.run_bank_choice();
  } else {
    Action_ChangeSF();
  }
}

void frmMidiTest::RestoreLastList() {
  const auto& restore = plugged(Companion::kPlayList).restore_last_list;
  if (restore) restore();
}

void frmMidiTest::ProcessMessages() { QCoreApplication::processEvents(); }

// ---- End

void frmMidiTest::ShutDown() {
  if (std::exchange(is_shut_down_, true)) return;
  start_up_.ShutDown();
}

void frmMidiTest::StopTimers() {
  tmrMidiTest.stop();
  TimerEncodage.stop();
  if (save_place_timer_.isActive()) SavePlace();
  hide();
  if (conversion_.unload) conversion_.unload();
}

void frmMidiTest::UnloadCompanion(Companion companion) {
  PluggedCompanion& other = plugged(companion);
  if (!other.window) return;
  if (other.lyrics != nullptr) program_.lyric_display.set_display(nullptr);
  other.window->close();
  other = {};
}

void frmMidiTest::UnloadDialogs() {
  options_ = {};
  about_ = {};
  conversion_ = {};
}

void frmMidiTest::UnhookWindows() {
  program_.end_of_song.set_listener({});
  program_.binding.set_presets_changed({});
}

void frmMidiTest::ReleaseSkin() { skin_.Release(); }

// ---- Actions

void frmMidiTest::ClickButton(int index) {
  if (index < kFirstMiscButton) {
    if (!program_.strips.PicSM_Click(index, program_.state.audio.stream)) return;
    display_.DispSoloMute();
    return;
  }
  if (index == kBankButton && pressed_with_ == kRightButton) return SfInfo_Click();
  if (pressed_with_ != kLeftButton) return;
  for (const ButtonAction& entry : kButtonActions) {
    if (entry.button == index) (this->*entry.action)();
  }
}

void frmMidiTest::Action_Play() {
  display_.DrawPlay(true);
  program_.bank_loader.WhenReady([this] { transport_.Action_Play(); });
}

void frmMidiTest::Action_PlaySelected(int place) {
  program_.bank_loader.WhenReady([this, place] { transport_.Action_PlaySelected(place); });
}

void frmMidiTest::Action_Next() {
  program_.bank_loader.WhenReady([this] { transport_.Action_Next(); });
}

void frmMidiTest::Action_Prev() {
  program_.bank_loader.WhenReady([this] { transport_.Action_Prev(); });
}

void frmMidiTest::Action_Stop() {
  program_.bank_loader.Forget();
  transport_.Action_Stop();
}

void frmMidiTest::Action_PunchIn() {
  asked_marker_ = kStartMarker;
  transport_.Action_PunchIn();
}

void frmMidiTest::Action_PunchOut() {
  asked_marker_ = kEndMarker;
  transport_.Action_PunchOut();
}

std::optional<std::string> frmMidiTest::AskTime(const std::string& proposed) {
  return Temps(context(), asked_marker_, this).Ask(proposed);
}

void frmMidiTest::Action_Record() {
  if (conversion_.action_record) conversion_.action_record();
}

void frmMidiTest::EnableTimerEncodage(bool enabled) {
  if (enabled) {
    TimerEncodage.start();
  } else {
    TimerEncodage.stop();
  }
}

void frmMidiTest::EnableForConversion() {
  const bool is_free = !program_.state.converting;
  display_.EnableControls();
  for (const Companion companion : {Companion::kReglage, Companion::kReverb}) {
    if (QWidget* window = plugged(companion).window.get()) window->setEnabled(is_free);
  }
  if (options_.enable) options_.enable(is_free);
}

void frmMidiTest::Action_Setup() {
  if (options_.open) options_.open();
}

void frmMidiTest::Action_About() {
  if (!about_.open && others_.about) about_ = others_.about(*this);
  if (about_.open) about_.open();
}

void frmMidiTest::Action_Help() {
  const std::string page = HelpPage(program_.env.program_folder, program_.state.language_file);
  if (!page.empty() && program_.env.open_document(page)) return;
  const std::string place = page.empty() ? Join(program_.env.program_folder, "help") : page;
  program_.env.boxes.Show(context().Section("Main").Message("HelpMissing", {place}), "",
                          BoxIcon::kExclamation);
}

void frmMidiTest::Action_ChangeSF() {
  const LanguageSection texts = context().Section("Main");
  const std::string pattern = SongPattern(texts.Text("ExtSF2"));
  const std::string path =
      program_.env.files.OpenFile({texts.Text("SF2CMD.DialogTitle"),
                                   FillIn(texts.Text("SF2CMD.Filter"), {pattern, pattern}),
                                   program_.state.folders.banks,
                                   {}});
  if (!path.empty() && AcceptBankPath(path, program_.env.boxes)) ChangeSF2(path);
}

void frmMidiTest::SfInfo_Click() {
  ShowSoundFontInfo(program_.api, program_.state.audio, program_.env.boxes,
                    context().Section("Options").Text("Bank"));
}

void frmMidiTest::ChangeSF2(const std::string& path) {
  program_.bank_loader.Load(path, KeepBank::kInSettings, [this, path](bool loaded) {
    if (loaded) program_.state.folders.banks = FolderOf(path);
    BankLoadingChanged(false);
  });
  BankLoadingChanged(true);
}

void frmMidiTest::BankLoadingChanged(bool loading) {
  if (!options_.show_bank_loading) return;
  options_.show_bank_loading(loading, context().Section("Main").Text("BankLoading"));
}

void frmMidiTest::Action_OpenSongs() {
  const std::vector<std::string> paths = PlayList::ChooseSongs(context());
  if (paths.empty()) return;
  program_.state.folders.songs = FolderOf(paths.front());
  GereDrop(paths);
}

void frmMidiTest::GereDrop(const std::vector<std::string>& paths) {
  const auto play = [this](int last_place) {
    if (last_place > 0) Action_PlaySelected(last_place);
  };
  if (const auto& add_dropped = plugged(Companion::kPlayList).add_dropped) {
    add_dropped(paths, play);
  } else {
    play(AddSongs(paths, program_.state.playlist, program_.env.boxes));
  }
}

void frmMidiTest::AutoMuteSwitched() {
  ApplyVolume(program_.api, program_.state.audio.stream, program_.state.mix);
  display_.DispSoloMute();
}

// ---- Companion windows

bool frmMidiTest::IsShown(Companion companion) const {
  const auto& window = companions_[static_cast<std::size_t>(companion)].window;
  return window && window->isVisible();
}

void frmMidiTest::SetShown(Companion companion, bool shown) {
  CompanionWindow* window = plugged(companion).window.get();
  if (window == nullptr) return;
  // The list has a place of its own under this window.
  if (shown && companion != Companion::kPlayList && !ReadPlace(program_.ini, window->section())) {
    MoveToFreePlace(*window);
  }
  window->setVisible(shown);
}

void frmMidiTest::MoveToFreePlace(CompanionWindow& window) {
  std::vector<ScreenArea> taken = {AreaOf(frameGeometry())};
  for (const PluggedCompanion& other : companions_) {
    if (other.window && other.window->isVisible()) {
      taken.push_back(AreaOf(other.window->frameGeometry()));
    }
  }
  const QSize extent = window.size() + (frameGeometry().size() - size());
  const WindowPlace place =
      FreePlace(AreaOf(screen()->availableGeometry()), taken, {extent.width(), extent.height()});
  window.move(place.x, place.y);
}

void frmMidiTest::LyricsShow(bool show) {
  SetShown(Companion::kLyrics, show);
  DrawFace(Companion::kLyrics, IsShown(Companion::kLyrics));
}

void frmMidiTest::BougeFilles() {
  const QPoint by = last_place_ ? pos() - *last_place_ : QPoint();
  last_place_ = pos();
  for (const PluggedCompanion& other : companions_) {
    if (other.window) other.window->Follow(by);
  }
}

// ---- Knobs

void frmMidiTest::PressKnob(int index, int mouse_button, QPointF at) {
  const double old_factor = program_.state.audio.speed_factor;
  if (program_.knobs.Potard_MouseDown(index, mouse_button, at.x(), at.y())) {
    KnobTurned(index, old_factor);
  }
}

void frmMidiTest::MoveKnob(QPointF at) {
  if (program_.knobs.Potard_MouseMove(at.x(), at.y())) {
    display_.DrawPotard(program_.knobs.held_knob(), true);
  }
}

void frmMidiTest::ReleaseKnob() {
  const int knob = program_.knobs.held_knob();
  const double old_factor = program_.state.audio.speed_factor;
  if (program_.knobs.Potard_MouseUp()) KnobTurned(knob, old_factor);
}

void frmMidiTest::StepKnob(int index, int steps, bool fine) {
  const double old_factor = program_.state.audio.speed_factor;
  if (program_.knobs.Step(index, steps, fine)) KnobTurned(index, old_factor);
  display_.DrawPotard(index, true);
}

void frmMidiTest::KnobTurned(int index, double old_factor) {
  display_.DrawPotard(index);
  if (index != kSpeedKnob) return;
  transport_.SpeedChanged(old_factor);
  display_.AfficherMarqueurs();
}

// ---- Keyboard

void frmMidiTest::keyPressEvent(QKeyEvent* event) {
  const MainCommand command = CommandOf(*event);
  if (command == MainCommand::kNone || command == MainCommand::kHelp) {
    event->ignore();
    return;
  }
  if (!event->isAutoRepeat() || RepeatsWhileHeld(command)) RunCommand(command);
}

void frmMidiTest::keyReleaseEvent(QKeyEvent* event) {
  if (!event->isAutoRepeat() && CommandOf(*event) == MainCommand::kHelp) {
    Action_Help();
  } else {
    event->ignore();
  }
}

void frmMidiTest::RunCommand(MainCommand command) {
  const auto click = [this](int button) {
    if (!panel_->sm(button).isEnabled()) return;
    pressed_with_ = kLeftButton;
    ClickButton(button);
  };
  switch (command) {
    case MainCommand::kPlayOrStop:
      return click(program_.state.playing ? 34 : 33);
    case MainCommand::kSeekBack:
      return SeekBy(-kSeekStep);
    case MainCommand::kSeekForward:
      return SeekBy(kSeekStep);
    case MainCommand::kPreviousSong:
      return click(32);
    case MainCommand::kNextSong:
      return click(35);
    case MainCommand::kOpenSongs:
      return Action_OpenSongs();
    case MainCommand::kRecord:
      return click(kRecordButton);
    case MainCommand::kLyrics:
      return click(InfoOf(Companion::kLyrics).button);
    case MainCommand::kPlayList:
      return click(InfoOf(Companion::kPlayList).button);
    case MainCommand::kKnobUp:  // a knob that has the focus takes these itself
    case MainCommand::kKnobDown:
    case MainCommand::kHelp:
    case MainCommand::kNone:
      break;
  }
}

void frmMidiTest::SeekBy(double seconds) {
  transport_.SeekBy(seconds);
  main_timer_.Tick();
}

// ---- The window itself

bool frmMidiTest::event(QEvent* event) {
  if (event->type() == QEvent::WindowBlocked) LetGoControls(*this);
  return QWidget::event(event);
}

void frmMidiTest::dragEnterEvent(QDragEnterEvent* event) {
  if (!LocalFiles(*event->mimeData()).empty()) event->acceptProposedAction();
}

void frmMidiTest::dropEvent(QDropEvent* event) {
  event->acceptProposedAction();
  GereDrop(LocalFiles(*event->mimeData()));
}

void frmMidiTest::moveEvent(QMoveEvent*) {
  if (!last_place_) return;  // still being made
  BougeFilles();
  save_place_timer_.start();
}

void frmMidiTest::SavePlace() {
  save_place_timer_.stop();
  StoreMainPlace(program_.ini, {pos().x(), pos().y()});
}

void frmMidiTest::resizeEvent(QResizeEvent*) {
  panel_->move((width() - panel_->width()) / 2, (height() - panel_->height()) / 2);
}

// What a larger window has around the panel.
void frmMidiTest::paintEvent(QPaintEvent*) {
  if (size() == panel_->size()) return;
  QPainter painter(this);
  skin_.DrawTiled(painter, kLampSheet, kPanelTile, rect());
}

void frmMidiTest::closeEvent(QCloseEvent* event) {
  BougeFilles();
  SavePlace();
  event->accept();
  ShutDown();
  QCoreApplication::quit();
}

}  // namespace vexolo
