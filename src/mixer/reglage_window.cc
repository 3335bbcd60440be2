#include "mixer/reglage_window.h"

#include <QPaintEvent>
#include <QPainter>
#include <algorithm>

#include "mixer/channel_strips.h"
#include "mixer/instrument_dialog.h"
#include "mixer/meters.h"
#include "widgets/engraving.h"
#include "widgets/skin.h"

namespace vexolo {
namespace {

// The grid: a header with captions, then a row for each channel.
constexpr int kMargin = 12;
constexpr int kHeader = 24;
constexpr int kRow = 27;
constexpr int kPlateHeight = kHeader + kChannels * kRow + 8;
constexpr int kHeight = kPlateHeight + 2 * kMargin;
constexpr int kNumberX = 22;
constexpr int kLampX = 46;
constexpr int kNameX = 458;
constexpr QSize kNameSize(196, 24);
constexpr int kLampInterval = 100;  // milliseconds

struct Column {
  int x;
  QSize size;
};
/// By kind; a knob has its value beside it.
constexpr std::array<Column, kControllerKinds> kColumns = {{
    {74, {60, 24}},
    {148, {60, 24}},
    {222, {60, 24}},
    {296, {60, 24}},
    {370, {24, 12}},
    {414, {24, 12}},
    {664, {84, 24}},
}};
constexpr int kWidth = 664 + 84 + 10 + 2 * kMargin - 12;
constexpr int kCaptionWidth = 67;

constexpr int RowTop(int channel) { return kMargin + kHeader + channel * kRow; }

constexpr const Column& ColumnOf(int entry) {
  return kColumns[static_cast<std::size_t>(KindOf(entry) - 1)];
}

/// Of a bank or program. Programs are counted from 1 wherever people see them.
int ShownNumber(int kind, int value) {
  const int number = std::clamp(value, 0, kControllers[static_cast<std::size_t>(kind - 1)].max);
  return kind == kProgramKind ? number + 1 : number;
}

constexpr bool IsKnob(int kind) { return kind <= kChorusKind; }

constexpr QRect ControlRect(int entry) {
  const Column& column = ColumnOf(entry);
  const int top = RowTop(ChannelOf(entry)) + (kRow - column.size.height()) / 2;
  return {QPoint(column.x, top), column.size};
}

constexpr QRect NameRect(int channel) {
  return {QPoint(kNameX, RowTop(channel) + (kRow - kNameSize.height()) / 2), kNameSize};
}

constexpr QRect LampRect(int channel) { return {kLampX, RowTop(channel) + 4, 18, 18}; }

constexpr KnobStyle StyleOf(int kind, bool is_override, bool has_song) {
  if (kind == kPanKind) {
    if (!has_song) return KnobStyle::kCentredOff;
    return is_override ? KnobStyle::kCentredOverride : KnobStyle::kCentred;
  }
  if (!has_song) return KnobStyle::kAmountOff;
  return is_override ? KnobStyle::kAmountOverride : KnobStyle::kAmount;
}

}  // namespace

Reglage::Reglage(const WindowContext& context, QWidget* main_window, Controllers& controllers,
                 MixState& state, AudioState& audio)
    : CompanionWindow(context, main_window, "Reglage"),
      controllers_(controllers),
      state_(state),
      audio_(audio) {
  setObjectName("Reglage");
  setFixedSize(kWidth, kHeight);
  // Row by row, so that the keyboard goes along a channel.
  for (int channel = 0; channel < kChannels; ++channel) {
    for (int kind = kVolumeKind; kind <= kProgramKind; ++kind) {
      MakeControl(ControllerEntry(kind, channel));
    }
    MakeNameButton(channel);
    MakeControl(ControllerEntry(kDrumKind, channel));
  }
  lamp_timer_.setInterval(kLampInterval);
  QObject::connect(&lamp_timer_, &QTimer::timeout, this, [this] { DrawLamps(); });
  LoadLanguage();
}

void Reglage::MakeControl(int entry) {
  const int kind = KindOf(entry);
  const int max = kControllers[static_cast<std::size_t>(kind - 1)].max;
  auto* control = new KnobWidget(
      ColumnOf(entry).size, 0, max,
      [this, entry](QPainter& painter, int) { PaintControl(painter, entry); }, this);
  control->move(ControlRect(entry).topLeft());
  control->setObjectName(QString("Potard(%1)").arg(entry));
  control->actions.press = [this, entry](int button, QPointF at, Qt::KeyboardModifiers keys) {
    PressControl(entry, button, at, keys);
  };
  control->actions.move = [this, entry](QPointF at) {
    if (controllers_.ControllerMove(at.x(), at.y())) DrawKnob(entry);
  };
  control->actions.release = [this, entry] {
    if (controllers_.ControllerUp()) DrawKnob(entry);
  };
  control->actions.step = [this, entry](int steps, Qt::KeyboardModifiers keys) {
    controllers_.Step(entry, steps, keys & Qt::ShiftModifier);
    DrawChannel(ChannelOf(entry));
  };
  // The second click of a stepping control is one more step.
  if (IsKnob(kind)) {
    control->actions.reset = [this, entry] {
      controllers_.Reset(entry);
      DrawChannel(ChannelOf(entry));
    };
  }
  Potard[static_cast<std::size_t>(entry)] = control;
}

void Reglage::PressControl(int entry, int button, QPointF at, Qt::KeyboardModifiers keys) {
  controllers_.ControllerDown(entry, button, at.x(), at.y(), keys & Qt::ControlModifier,
                              keys & Qt::ShiftModifier);
  DrawChannel(ChannelOf(entry));
}

void Reglage::MakeNameButton(int channel) {
  auto* button = new InstrumentButtonWidget(context().skin, kNameSize, this);
  button->move(NameRect(channel).topLeft());
  button->setObjectName(QString("Instrument(%1)").arg(channel));
  QObject::connect(button, &QAbstractButton::clicked, this,
                   [this, channel] { OpenInstruments(channel); });
  names_[static_cast<std::size_t>(channel)] = button;
}

void Reglage::OpenInstruments(int channel) {
  const bool is_drum = controllers_.IsDrumChannel(channel);
  const Instrument current = {is_drum ? 0 : controllers_.Value(ControllerEntry(kBankKind, channel)),
                              controllers_.Value(ControllerEntry(kProgramKind, channel))};
  auto* list =
      new InstrumentDialog(context(), this, channel, ListInstruments(audio_.presets, is_drum),
                           current, [this, channel](Instrument chosen) {
                             controllers_.ChooseInstrument(channel, chosen);
                             DrawChannel(channel);
                           });
  list->setAttribute(Qt::WA_DeleteOnClose);
  list->move(name_button(channel).mapToGlobal(QPoint(0, kNameSize.height())));
  list->show();
}

void Reglage::LoadLanguage() {
  const LanguageSection texts = context().Section("Reglage");
  setWindowTitle(Q(texts.Message("Caption")));
  for (std::size_t i = 0; i < kControllers.size(); ++i) {
    captions_[i] = Q(texts.Message(kControllers[i].caption_key));
  }
  no_preset_ = Q(texts.Message("NoPreset"));
  for (int channel = 0; channel < kChannels; ++channel) {
    const QString name = Q(texts.Message("Channel", {std::to_string(channel + 1)}));
    name_button(channel).setAccessibleDescription(name);
    for (int kind = 1; kind <= kControllerKinds; ++kind) {
      knob(ControllerEntry(kind, channel))
          .setAccessibleName(name + ", " + captions_[static_cast<std::size_t>(kind - 1)]);
    }
    DrawChannel(channel);
  }
  back_.Forget();
  update();
}

Reglage::Shown Reglage::Now(int entry) const {
  return {controllers_.Value(entry), controllers_.HasOverride(entry), audio_.stream != 0};
}

void Reglage::Refresh() {
  if (!isVisible()) return;
  for (int entry = 0; entry < kFirstSongEntry; ++entry) {
    if (Now(entry) != shown_[static_cast<std::size_t>(entry)]) DrawKnob(entry);
  }
  for (int channel = 0; channel < kChannels; ++channel) DrawName(channel);
}

void Reglage::RefreshNames() {
  for (int channel = 0; channel < kChannels; ++channel) DrawName(channel);
}

void Reglage::DrawChannel(int channel) {
  for (int kind = 1; kind <= kControllerKinds; ++kind) DrawKnob(ControllerEntry(kind, channel));
  DrawName(channel);
}

void Reglage::DrawKnob(int entry) {
  const Shown now = Now(entry);
  shown_[static_cast<std::size_t>(entry)] = now;
  KnobWidget& control = knob(entry);
  control.ShowValue(now.value);
  control.update();
  control.setAccessibleDescription(ValueText(entry));
  control.setToolTip(Tip(entry));
}

void Reglage::DrawName(int channel) {
  const QString preset = Q(controllers_.TipPreset(channel));
  const QString name = preset.isEmpty() && audio_.font != 0 ? no_preset_ : preset;
  InstrumentButtonWidget& button = name_button(channel);
  const bool is_new = name != button.text();
  button.ShowName(name, HasInstrumentOverride(state_, channel));
  if (!is_new) return;
  button.setToolTip(name);
  button.setAccessibleName(name);
  for (const int kind : {kBankKind, kProgramKind}) {
    const int entry = ControllerEntry(kind, channel);
    knob(entry).setToolTip(Tip(entry));
  }
}

void Reglage::DrawLamps() {
  for (int channel = 0; channel < kChannels; ++channel) {
    const auto i = static_cast<std::size_t>(channel);
    const int frame = LampFrame(state_.lamp_levels[i]);
    if (std::exchange(lamp_frames_[i], frame) != frame) update(LampRect(channel));
  }
}

QString Reglage::ValueText(int entry) const {
  const int kind = KindOf(entry);
  const int value = controllers_.Value(entry);
  return kind == kProgramKind ? QString::number(ShownNumber(kind, value))
                              : Q(ControllerText(kind, value));
}

QString Reglage::Tip(int entry) const {
  const int kind = KindOf(entry);
  const int channel = ChannelOf(entry);
  QString value = ValueText(entry);
  if (kind == kBankKind || kind == kProgramKind) {
    const QString name = Q(controllers_.TipPreset(channel));
    if (!name.isEmpty() || audio_.font != 0) value += " – " + (name.isEmpty() ? no_preset_ : name);
  }
  const char* const key = controllers_.HasOverride(entry) ? "TipOverride" : "TipSong";
  return Q(context().Section("Reglage").Message(
      key, {std::to_string(channel + 1),
            captions_[static_cast<std::size_t>(kind - 1)].toStdString(), value.toStdString()}));
}

void Reglage::showEvent(QShowEvent*) {
  Refresh();
  lamp_timer_.start();
}

void Reglage::hideEvent(QHideEvent*) { lamp_timer_.stop(); }

void Reglage::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  back_.Draw(painter, *this, [this](QPainter& back) { PaintBack(back); });
  for (int channel = 0; channel < kChannels; ++channel) {
    const QRect lamp = LampRect(channel);
    if (!event->rect().intersects(lamp)) continue;
    const int level = state_.lamp_levels[static_cast<std::size_t>(channel)];
    const SpriteRect sprite = OnLampSheet(LampSprite(level, channel == state_.MelodyChannel));
    context().skin.Draw(painter, kLampSheet, sprite, lamp.topLeft());
  }
}

void Reglage::PaintBack(QPainter& painter) const {
  const Skin& skin = context().skin;
  skin.DrawTiled(painter, kLampSheet, kPanelTile, rect());
  skin.DrawNinePatch(painter, kPlatePatch, {kMargin, kMargin, kWidth - 2 * kMargin, kPlateHeight});
  for (int kind = 1; kind <= kControllerKinds; ++kind) {
    QRect place(kColumns[static_cast<std::size_t>(kind - 1)].x, kMargin + 4, kCaptionWidth, 18);
    if (kind == kBankKind) place = {place.left() - 10, place.top(), 44, place.height()};
    // The instrument's name stands under the caption of its program.
    if (kind == kProgramKind) place = {kNameX, place.top(), kNameSize.width(), place.height()};
    DrawEngraved(painter, place, captions_[static_cast<std::size_t>(kind - 1)], Lettering::kKey,
                 kind == kBankKind ? Qt::AlignCenter : Qt::AlignLeft | Qt::AlignVCenter);
  }
  for (int channel = 0; channel < kChannels; ++channel) {
    DrawEngraved(painter, {kNumberX, RowTop(channel), 18, kRow}, QString::number(channel + 1));
  }
}

void Reglage::PaintControl(QPainter& painter, int entry) const {
  const int kind = KindOf(entry);
  const Shown now = Now(entry);
  const Skin& skin = context().skin;
  if (kind == kBankKind || kind == kProgramKind) {
    const SpriteRect number = NumberSprite(ShownNumber(kind, now.value), now.is_override);
    skin.Draw(painter, kNumberSheet, number, {0, 0});
    return;
  }
  if (kind == kDrumKind) {
    skin.Draw(painter, kControllerSheet, DrumSprite(now.value != 0, now.is_override), {0, 6});
  } else {
    const KnobStyle style = StyleOf(kind, now.is_override, now.has_song);
    skin.Draw(painter, kControllerSheet, SmallKnobSprite(style, now.value), {0, 0});
  }
  const int text_x = 27;
  DrawEngraved(painter, {text_x, 0, ColumnOf(entry).size.width() - text_x, 24}, ValueText(entry),
               now.is_override ? Lettering::kBright : Lettering::kValue,
               Qt::AlignLeft | Qt::AlignVCenter);
}

}  // namespace vexolo
