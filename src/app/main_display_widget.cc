#include "app/main_display_widget.h"

#include <QCursor>
#include <QLabel>
#include <QToolTip>
#include <cmath>

#include "app/panel_layout.h"
#include "app/time_format.h"
#include "audio/markers.h"
#include "mixer/channel_strips.h"
#include "platform/locale_format.h"
#include "platform/paths.h"
#include "settings/language.h"

namespace vexolo {
namespace {

constexpr int kPlayButton = 33;
constexpr int kRecordButton = 36;
constexpr int kPunchButton = 38;
constexpr int kPunchInButton = 39;
constexpr int kPunchOutButton = 40;
constexpr int kRepeatButton = 42;

constexpr int kLit = 2;  ///< state of the large buttons: what they do is going on

/// What is left in peace while a song is converted: all that starts, ends or moves a stream, or
/// changes how it sounds.
constexpr std::array<int, 8> kDisturbing = {32, 33, 34, 35, 38, 39, 40, 41};

void Explain(QWidget& widget, const std::string& text) {
  widget.setToolTip(Q(text));
  widget.setAccessibleDescription(Q(text));
}

PanelCaptions CaptionsFrom(const LanguageSection& section) {
  PanelCaptions captions = {Q(section.Text("Solo")),    Q(section.Text("Muet")),
                            Q(section.Text("Gain")),    Q(section.Text("Transpose")),
                            Q(section.Text("Vitesse")), {}};
  for (int key = 0; key < panel::kMiscButtonCount; ++key) {
    captions.keys[static_cast<std::size_t>(key)] =
        Q(section.Text("Key", panel::kFirstMiscButton + key));
  }
  return captions;
}

/// A tooltip without what stands in brackets at its end: what a control is called.
std::string NameIn(const std::string& tooltip) {
  return tooltip.ends_with(')') ? tooltip.substr(0, tooltip.rfind(" (")) : tooltip;
}

}  // namespace

MainDisplay::MainDisplay(Program& program, MainPanelWidget& panel)
    : program_(program), panel_(panel), scroller_(panel::kTitle.characters) {}

// ---- Texts

void MainDisplay::LoadLanguage(const WindowContext& context) {
  const LanguageSection section = context.Section("Main");
  ReadTexts(section);
  panel_.SetCaptions(CaptionsFrom(section));
  NameControls(section);
  NameKnobs(section);
  NameButtons();
  AfficherMarqueurs();
  DrawRepeat(program_.state.repeat_mode);
  DrawKnobs();
  RefreshTitle();
}

void MainDisplay::ReadTexts(const LanguageSection& section) {
  for (int i = 0; i < kSmButtons; ++i) {
    texts_.buttons[static_cast<std::size_t>(i)] = section.Text("SM", i);
  }
  texts_.start_tips = {section.Text("SM(Start-0)"), section.Text("SM(Start-1)")};
  texts_.end_tips = {section.Text("SM(End-0)"), section.Text("SM(End-1)")};
  for (const int mode : {kPlayListOnce, kRepeatSong, kRepeatList}) {
    texts_.repeat_tips[static_cast<std::size_t>(mode)] = section.Text("Repeat", mode);
  }
  texts_.melody = section.Text("Melody");
  texts_.not_yet = section.Text("NotYet");
  texts_.gain_tip = section.Text("Knob(Gain)");
  texts_.transpose_tip = section.Text("Knob(Transpose)");
  texts_.speed_tip = section.Text("Knob(Speed)");
  texts_.caption = section.Text("Caption");
  texts_.caption_with_song = section.Text("Main.Caption");
  texts_.title_name = section.Text("Title");
  texts_.title_tip = section.Text("TitleTip");
  texts_.converting = section.Text("Encodage");
  texts_.converted = section.Text("Converted");
  texts_.no_sound = section.Text("NoSound");
  texts_.no_sound_tip = section.Message("NoSoundTip");
  texts_.bank_loading = section.Text("BankLoading");
  texts_.title = {section.Text("Titre(0)"), section.Text("Titre(1)"), section.Text("Titre(n)"),
                  section.Text("Titre(z)")};
  texts_.bank = {section.Text("SF2LoadInfo"), section.Text("SF2NoneInfo")};
}

void MainDisplay::NameControls(const LanguageSection& section) {
  const auto name = [&](QWidget& widget, const char* key) {
    const std::string text = section.Text(key);
    widget.setAccessibleName(Q(text));
    widget.setToolTip(Q(text));
  };
  name(panel_.slider(), "Position");
  name(panel_.time(), "Tempo");
  name(panel_.level(), "Gauche");
  name(panel_.peak(), "Droite");
  name(panel_.clip_lamp(), "ClipLed");
  name(panel_.name_plate(), "About");
  name(panel_.speed_frame(), "BPM");
  for (int channel = 0; channel < kChannels; ++channel) {
    const std::string text = section.Message("Activity", {std::to_string(channel + 1)});
    panel_.lamp(channel).setAccessibleName(Q(text));
    panel_.lamp(channel).setToolTip(Q(text));
  }
}

void MainDisplay::NameKnobs(const LanguageSection& section) {
  for (int knob = 0; knob < kKnobs; ++knob) {
    panel_.potard(knob).setAccessibleName(Q(section.Text("Vol", knob)));
  }
}

void MainDisplay::NameButtons() {
  for (int i = 0; i < kSmButtons; ++i) {
    const auto at = static_cast<std::size_t>(i);
    NameButton(i, missing_[at] ? FillIn(texts_.not_yet, {NameIn(texts_.buttons[at])})
                               : texts_.buttons[at]);
  }
  named_melody_ = -1;
  NameMelody();
}

void MainDisplay::NameButton(int index, const std::string& text) {
  panel_.sm(index).setAccessibleName(Q(NameIn(text)));
  Explain(panel_.sm(index), text);
}

void MainDisplay::NameMelody() {
  const MixState& mix = program_.state.mix;
  const int melody = IsHeldByAutoMute(mix, mix.MelodyChannel) ? mix.MelodyChannel : -1;
  if (melody == named_melody_) return;
  if (named_melody_ >= 0) {
    const int button = named_melody_ + kFirstMuteButton;
    NameButton(button, texts_.buttons[static_cast<std::size_t>(button)]);
  }
  named_melody_ = melody;
  if (melody < 0) return;
  NameButton(melody + kFirstMuteButton, FillIn(texts_.melody, {std::to_string(melody + 1)}));
}

void MainDisplay::SetMissing(int button) {
  missing_[static_cast<std::size_t>(button)] = true;
  panel_.sm(button).setEnabled(false);
}

// ---- Buttons and knobs

void MainDisplay::DispSoloMute() {
  const auto states = SoloMuteStates(program_.state.mix);
  for (std::size_t i = 0; i < states.size(); ++i) panel_.DrawSM(static_cast<int>(i), states[i]);
  NameMelody();
}

void MainDisplay::DrawKnobs() {
  for (int knob = 0; knob < kKnobs; ++knob) DrawPotard(knob);
}

void MainDisplay::DrawPotard(int index, bool moving) {
  const int value = program_.knobs.Value(index);
  panel_.DrawKnob(index, value, program_.state.audio.base_tempo);
  const std::string& text = index == kGainKnob ? texts_.gain_tip : texts_.transpose_tip;
  const QString tip = Q(KnobTip(index, value, text));
  if (panel_.potard(index).toolTip() != tip) panel_.potard(index).setToolTip(tip);
  if (index == kSpeedKnob) DescribeSpeed(value);
  if (moving) ShowTip(index);
  if (index != kGainKnob) return;
  panel_.label_gain().setText(Q(LabelGainText(value)));
  panel_.label_gain().setToolTip(tip);
}

// Turned with the keyboard, the knob may be far from the mouse.
void MainDisplay::ShowTip(int index) {
  KnobWidget& knob = panel_.potard(index);
  const bool by_mouse = program_.knobs.held_knob() == index || knob.underMouse();
  const QPoint at = by_mouse ? QCursor::pos() : knob.mapToGlobal(knob.rect().center());
  QToolTip::showText(at, knob.toolTip(), &knob);
}

void MainDisplay::DescribeSpeed(int value) {
  const std::string percent = FormatNumber(value / 10.0, "+0.#;-0.#;0", program_.env.separator);
  panel_.potard(kSpeedKnob).setAccessibleDescription(Q(FillIn(texts_.speed_tip, {percent})));
}

void MainDisplay::DrawFace(Companion companion, bool pressed) {
  panel_.DrawSM(InfoOf(companion).button, pressed ? kButtonDown : kButtonUp);
}

void MainDisplay::EnableControls() {
  const bool free = !program_.state.converting;
  for (const int button : kDisturbing) {
    panel_.sm(button).setEnabled(free && !missing_[static_cast<std::size_t>(button)]);
  }
  for (int button = 0; button < kFirstMiscButton; ++button) panel_.sm(button).setEnabled(free);
  for (int knob = 0; knob < kKnobs; ++knob) panel_.potard(knob).setEnabled(free);
  panel_.slider().setEnabled(free);
}

void MainDisplay::TellConverted() { scroller_.Notice(LedText(texts_.converted)); }

void MainDisplay::DrawPlay(bool pressed) {
  panel_.DrawSM(kPlayButton, pressed ? kButtonDown : kButtonUp);
}

void MainDisplay::DrawRepeat(int mode) {
  panel_.DrawSM(kRepeatButton, mode);
  Explain(panel_.sm(kRepeatButton), texts_.repeat_tips[static_cast<std::size_t>(mode)]);
  if (links.repeat_drawn) links.repeat_drawn(mode);
}

void MainDisplay::AfficherMarqueurs() {
  const Markers& markers = program_.state.audio.markers;
  panel_.DrawSM(kPunchButton, markers.on ? kButtonDown : kButtonUp);
  panel_.DrawSM(kPunchInButton, markers.on && markers.start > 0 ? kButtonDown : kButtonUp);
  panel_.DrawSM(kPunchOutButton, markers.on && markers.end > 0 ? kButtonDown : kButtonUp);
  panel_.slider().ShowPassage(MarksOnSlider(program_.api, program_.state.audio));
  Explain(panel_.sm(kPunchInButton), MarkerTip(texts_.start_tips, markers.start));
  Explain(panel_.sm(kPunchOutButton), MarkerTip(texts_.end_tips, markers.end));
}

std::string MainDisplay::MarkerTip(const std::array<std::string, 2>& tips, double stored) const {
  const AudioState& audio = program_.state.audio;
  const double time = ActingTime(stored, audio.speed_factor);
  return FillIn(tips[audio.markers.on ? 1 : 0], {FormatTime(time, program_.env.separator)});
}

void MainDisplay::DrawMix() {
  DispSoloMute();
  DrawKnobs();
  song_is_open_ = program_.state.audio.stream != 0;
  RefreshTitle();
  if (links.mix_drawn) links.mix_drawn();
}

void MainDisplay::DispMiscButtons() {
  const modMidiTest& state = program_.state;
  if (state.playing) panel_.DrawSM(kPlayButton, kLit);
  panel_.DrawSM(kRecordButton, state.converting ? kLit : kButtonUp);
  EnableControls();
}

// ---- Title and time

void MainDisplay::ShowTitle(const std::string& song_path) {
  shown_song_ = song_path;
  song_is_open_ = false;
  RefreshTitle();
}

void MainDisplay::RefreshTitle() {
  const modMidiTest& state = program_.state;
  list_shown_ = state.playlist.revision();
  const std::string name = shown_song_.empty() ? std::string()
                           : song_is_open_     ? SongName(state.lyrics, shown_song_)
                                               : StemOf(shown_song_);
  const std::string text =
      TitleText(texts_.title, name, state.playlist.current(), state.playlist.count());
  shown_status_ = Status();
  scroller_.SetText(LedText(shown_status_.empty() ? text : shown_status_));
  panel_.title().Print(scroller_.Visible());
  panel_.title().setAccessibleName(Q(texts_.title_name + " – " + (name.empty() ? text : name)));
  panel_.title().setToolTip(Q(name.empty() ? texts_.title_tip : name));
  if (!links.set_caption) return;
  links.set_caption(Q(name.empty() ? texts_.caption : FillIn(texts_.caption_with_song, {name})));
}

std::string MainDisplay::Status() const {
  if (program_.state.converting) return texts_.converting;
  const bool waits = program_.bank_loader.loading() && program_.state.audio.font == 0;
  return waits ? texts_.bank_loading : std::string();
}

void MainDisplay::TellOfSilence() {
  if (silence_told_ || !program_.env.library.OutputIsSilent()) return;
  silence_told_ = true;
  scroller_.Notice(LedText(texts_.no_sound));
  panel_.time().setToolTip(Q(texts_.no_sound_tip));
}

void MainDisplay::DispLeds() {
  TellOfSilence();
  if (Status() != shown_status_ || list_shown_ != program_.state.playlist.revision()) {
    RefreshTitle();
  }
  // Without a song nothing else moves the slider.
  if (program_.state.audio.stream == 0) panel_.slider().ShowValue(0);
  scroller_.Tick();
  panel_.title().Print(scroller_.Visible());
  DrawPotard(kSpeedKnob);
}

void MainDisplay::ShowTime() {
  std::string text = TimeText(program_.api, program_.state.audio, program_.env.separator);
  // From ten minutes on the text is longer than the display, but for its blanks.
  if (text.size() > static_cast<std::size_t>(panel::kTime.characters)) std::erase(text, ' ');
  panel_.time().Print(text);
}

// ---- Meters and the rest of a tick

void MainDisplay::DrawVuMeters(const VuMeter& meter) {
  panel_.level().ShowSegments(meter.level);
  panel_.peak().ShowSegments(meter.peak);
  panel_.clip_lamp().Light(clip_lamp_.Tick(meter.overloaded));
}

void MainDisplay::DrawMeters(const std::array<int, kChannels>& levels) {
  for (int channel = 0; channel < kChannels; ++channel) {
    panel_.lamp(channel).DrawJ(levels[static_cast<std::size_t>(channel)],
                               channel == program_.state.mix.MelodyChannel);
  }
}

void MainDisplay::RefreshChannels() {
  DispSoloMute();
  if (links.refresh_channels) links.refresh_channels();
}

void MainDisplay::MoveSlider(double value) {
  panel_.slider().ShowValue(static_cast<int>(std::lround(value)));
}

void MainDisplay::ShowBankInfo(const std::string& text) {
  if (links.show_bank_info) links.show_bank_info(text);
}

}  // namespace vexolo
