#include "mixer/reverb_window.h"

#include <QPaintEvent>
#include <QPainter>

#include "mixer/channel_strips.h"
#include "mixer/meters.h"
#include "widgets/engraving.h"
#include "widgets/skin.h"

namespace vexolo {
namespace {

// The grid: two plates, one above the other; a cell for each knob.
constexpr int kMargin = 12;
constexpr int kCellWidth = 84;
constexpr int kFrameTop = 26;  // title of a frame
constexpr int kCellHeight = 104;
constexpr int kFrameHeight = kFrameTop + kCellHeight + 8;
constexpr int kReverbKnobs = 5;
constexpr int kChorusKnobs = 6;
constexpr int kFrameWidth = kChorusKnobs * kCellWidth + 2 * 8;
constexpr int kWidth = kFrameWidth + 2 * kMargin;
constexpr int kHeight = 2 * kFrameHeight + 3 * kMargin;
constexpr int kKnobSize = 48;
constexpr QSize kBypassSize(18, 18);
constexpr int kBypassOn = 1;  // state of a bypass button, which is a lamp

constexpr bool IsChorus(int kind) { return kind > kReverbKnobs; }

constexpr QRect FrameRect(bool chorus) {
  return {kMargin, kMargin + (chorus ? kFrameHeight + kMargin : 0), kFrameWidth, kFrameHeight};
}

constexpr QRect CellRect(int kind) {
  const QRect frame = FrameRect(IsChorus(kind));
  const int column = IsChorus(kind) ? kind - kReverbKnobs - 1 : kind - 1;
  const int count = IsChorus(kind) ? kChorusKnobs : kReverbKnobs;
  // Fewer knobs stand further apart, so that both rows fill their plate.
  const int width = (frame.width() - 16) / count;
  return {frame.left() + 8 + column * width, frame.top() + kFrameTop, width, kCellHeight};
}

constexpr QRect KnobRect(int kind) {
  const QRect cell = CellRect(kind);
  return {cell.left() + (cell.width() - kKnobSize) / 2, cell.top() + 18, kKnobSize, kKnobSize};
}

constexpr QRect ValueRect(int kind) {
  const QRect cell = CellRect(kind);
  return {cell.left() + (cell.width() - 68) / 2, cell.top() + 73, 68, 24};
}

constexpr QRect BypassRect(bool chorus) {
  const QRect frame = FrameRect(chorus);
  return {QPoint(frame.right() - 12 - kBypassSize.width(), frame.top() + 6), kBypassSize};
}

}  // namespace

Reverb::Reverb(const WindowContext& context, QWidget* main_window, ReverbChorus& effects,
               MixState& state)
    : CompanionWindow(context, main_window, "Reverb"), effects_(effects), state_(state) {
  setObjectName("Reverb");
  setFixedSize(kWidth, kHeight);
  for (int kind = 1; kind <= kSongKinds; ++kind) MakeKnob(kind);
  MakeBypass(false);
  MakeBypass(true);
  LoadLanguage();
}

void Reverb::MakeKnob(int kind) {
  const EffectRange& range = kEffectRanges[static_cast<std::size_t>(kind - 1)];
  const int step = kEffectKnobs[static_cast<std::size_t>(kind - 1)].step;
  // Counted in steps, so that an assistive tool turns it as the wheel does.
  auto* knob = new KnobWidget(
      {kKnobSize, kKnobSize}, range.min / step, range.max / step,
      [this, kind](QPainter& painter, int) { PaintKnob(painter, kind); }, this);
  knob->move(KnobRect(kind).topLeft());
  knob->setObjectName(QString("Potard(%1)").arg(kind));
  knob->actions.press = [this, kind](int button, QPointF at, Qt::KeyboardModifiers keys) {
    if (button == kRightButton) {
      effects_.Reset(kind);
    } else {
      effects_.ControllerDown(kind, at.x(), at.y(), keys & Qt::ControlModifier,
                              keys & Qt::ShiftModifier);
    }
    DrawKnob(kind);
  };
  knob->actions.move = [this, kind](QPointF at) {
    if (effects_.ControllerMove(at.x(), at.y())) DrawKnob(kind);
  };
  knob->actions.release = [this, kind] {
    if (effects_.ControllerUp()) DrawKnob(kind);
  };
  knob->actions.step = [this, kind](int steps, Qt::KeyboardModifiers keys) {
    effects_.Step(kind, steps, keys & Qt::ControlModifier, keys & Qt::ShiftModifier);
    DrawKnob(kind);
  };
  knob->actions.reset = [this, kind] {
    effects_.Reset(kind);
    DrawKnob(kind);
  };
  Potard[static_cast<std::size_t>(kind - 1)] = knob;
}

void Reverb::MakeBypass(bool chorus) {
  auto* button = new SpriteButton(
      context().skin, kLampSheet,
      [](int state) {
        return OnLampSheet(LampSprite(state == kBypassOn ? kMaxLampLevel : 0, false));
      },
      false, this);
  button->move(BypassRect(chorus).topLeft());
  button->setObjectName(chorus ? "BypassChorus" : "BypassReverb");
  button->setCheckable(true);
  button->on_click = [this, chorus] {
    const bool is_bypassed = chorus ? state_.bypass_chorus : state_.bypass_reverb;
    effects_.SetBypass(chorus, !is_bypassed);
    DrawBypass();
  };
  bypass_[chorus ? 1 : 0] = button;
}

void Reverb::LoadLanguage() {
  const LanguageSection texts = context().Section("Reverb");
  setWindowTitle(Q(texts.Message("Caption")));
  frames_ = {Q(texts.Message("FrameReverb")), Q(texts.Message("FrameChorus"))};
  bypass_caption_ = Q(texts.Message("Bypass"));
  for (int kind = 1; kind <= kSongKinds; ++kind) {
    const QString caption = Q(texts.Text("Ctrl", kind));
    captions_[static_cast<std::size_t>(kind - 1)] = caption;
    knob(kind).setAccessibleName(frames_[IsChorus(kind) ? 1 : 0] + ", " + caption);
  }
  for (const bool chorus : {false, true}) {
    const QString text = Q(texts.Message(chorus ? "BypassChorus" : "BypassReverb"));
    bypass_button(chorus).setToolTip(text);
    bypass_button(chorus).setAccessibleName(text);
  }
  back_.Forget();
  for (int kind = 1; kind <= kSongKinds; ++kind) DrawKnob(kind);
  DrawBypass();
  update();
}

QString Reverb::ValueText(int kind) const {
  const LanguageSection texts = context().Section("Reverb");
  const EffectText text = EffectValueText(kind, effects_.Value(kind), context().separator);
  if (text.unit.empty()) return Q(texts.Text("Off"));
  const QString number = Q(text.number).replace('-', QChar(0x2212));
  return Q(texts.Text("Unit(" + text.unit + ")")).replace("%1", number);
}

Reverb::Shown Reverb::Now(int kind) const {
  return {effects_.Value(kind), effects_.HasOverride(kind)};
}

void Reverb::Refresh() {
  if (!isVisible()) return;
  for (int kind = 1; kind <= kSongKinds; ++kind) {
    if (Now(kind) != ShownOf(kind)) DrawKnob(kind);
  }
  DrawBypass();
}

void Reverb::DrawKnob(int kind) {
  ShownOf(kind) = Now(kind);
  const int step = kEffectKnobs[static_cast<std::size_t>(kind - 1)].step;
  KnobWidget& shown = knob(kind);
  shown.ShowValue(ShownOf(kind).value / step);
  shown.update();
  const QString value = ValueText(kind);
  shown.setAccessibleDescription(value);
  shown.setToolTip(Q(context().Section("Reverb").Message(
      "Tip", {captions_[static_cast<std::size_t>(kind - 1)].toStdString(), value.toStdString()})));
  update(ValueRect(kind));
}

void Reverb::DrawBypass() {
  const std::array<bool, 2> bypassed = {state_.bypass_reverb, state_.bypass_chorus};
  for (const bool chorus : {false, true}) {
    const bool is_on = bypassed[chorus ? 1 : 0];
    bypass_button(chorus).set_state(is_on ? kBypassOn : 0);
    bypass_button(chorus).setChecked(is_on);
  }
}

void Reverb::showEvent(QShowEvent*) { Refresh(); }

void Reverb::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  back_.Draw(painter, *this, [this](QPainter& back) { PaintBack(back); });
  for (int kind = 1; kind <= kSongKinds; ++kind) {
    if (event->rect().intersects(ValueRect(kind))) PaintValue(painter, kind);
  }
}

void Reverb::PaintBack(QPainter& painter) const {
  const Skin& skin = context().skin;
  skin.DrawTiled(painter, kLampSheet, kPanelTile, rect());
  for (const bool chorus : {false, true}) {
    const QRect frame = FrameRect(chorus);
    skin.DrawNinePatch(painter, kPlatePatch, frame);
    DrawEngraved(painter, {frame.left() + 14, frame.top() + 5, 260, 20}, frames_[chorus ? 1 : 0],
                 Lettering::kCaption, Qt::AlignLeft | Qt::AlignVCenter);
    const QRect button = BypassRect(chorus);
    DrawEngraved(painter, {button.left() - 188, frame.top() + 5, 180, 20}, bypass_caption_,
                 Lettering::kScale, Qt::AlignRight | Qt::AlignVCenter);
  }
  for (int kind = 1; kind <= kSongKinds; ++kind) {
    const QRect cell = CellRect(kind);
    DrawEngraved(painter, {cell.left(), cell.top(), cell.width(), 16},
                 captions_[static_cast<std::size_t>(kind - 1)], Lettering::kKey);
    skin.DrawNinePatch(painter, kGlassPatch, ValueRect(kind));
  }
}

void Reverb::PaintKnob(QPainter& painter, int kind) const {
  context().skin.Draw(
      painter, kReverbSheet,
      ReverbKnobSprite(EffectShare(kind, effects_.Value(kind)), effects_.HasOverride(kind)),
      {0, 0});
}

void Reverb::PaintValue(QPainter& painter, int kind) const {
  DrawEngraved(painter, ValueRect(kind), ValueText(kind), Lettering::kLit);
}

}  // namespace vexolo
