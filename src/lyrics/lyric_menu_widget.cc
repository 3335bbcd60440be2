#include "lyrics/lyric_menu_widget.h"

#include <QAction>
#include <QActionGroup>
#include <QKeySequence>
#include <utility>

#include "lyrics/lyric_scene.h"
#include "widgets/window_context.h"

namespace vexolo {

LyricMenu::LyricMenu(QWidget* parent, LyricMenuChoices choices)
    : QMenu(parent), choices_(std::move(choices)) {
  MakeSwitches();
  addSeparator();
  closer_ = Add(*this, "Closer", "+", [this] { choices_.nearer(1); });
  farther_ = Add(*this, "Farther", "-", [this] { choices_.nearer(-1); });
  addSeparator();
  MakeThemes();
  MakeCodePages();
  addSeparator();
  close_ = Add(*this, "Close", "", [this] { choices_.close(); });
}

void LyricMenu::MakeSwitches() {
  full_screen_ = AddToggle("FullScreen", "F11", [this](bool on) { choices_.full_screen(on); });
  second_screen_ =
      AddToggle("SecondScreen", "Shift+F11", [this](bool on) { choices_.second_screen(on); });
  on_top_ = AddToggle("OnTop", "T", [this](bool on) { choices_.on_top(on); });
}

void LyricMenu::MakeThemes() {
  theme_ = AddChoice("Theme");
  auto* group = new QActionGroup(theme_);
  for (std::size_t i = 0; i < themes_.size(); ++i) {
    const int theme = static_cast<int>(i);
    themes_[i] = Add(*theme_, QString("Theme(%1)").arg(theme), theme == 0 ? "C" : "",
                     [this, theme] { choices_.theme(theme); });
    themes_[i]->setCheckable(true);
    group->addAction(themes_[i]);
  }
}

void LyricMenu::MakeCodePages() {
  code_page_ = AddChoice("CodePage");
  auto* group = new QActionGroup(code_page_);
  for (std::size_t i = 0; i < code_pages_.size(); ++i) {
    const std::int16_t page = kCodePageChoices[i];
    code_pages_[i] = Add(*code_page_, QString("CodePage(%1)").arg(page), "",
                         [this, page] { choices_.code_page(page); });
    code_pages_[i]->setCheckable(true);
    group->addAction(code_pages_[i]);
  }
}

/// The keys are only told here: the window itself listens to them, with or without a menu.
QAction* LyricMenu::Add(QMenu& menu, const QString& name, const QString& keys,
                        std::function<void()> chosen) {
  QAction* action = menu.addAction(name);
  action->setObjectName(name);
  if (!keys.isEmpty()) {
    action->setShortcut(QKeySequence(keys));
    action->setShortcutContext(Qt::WidgetShortcut);
    action->setShortcutVisibleInContextMenu(true);
  }
  connect(action, &QAction::triggered, this, std::move(chosen));
  return action;
}

QAction* LyricMenu::AddToggle(const QString& name, const QString& keys,
                              std::function<void(bool)> chosen) {
  QAction* action = Add(*this, name, keys, [] {});
  action->setCheckable(true);
  connect(action, &QAction::triggered, this, std::move(chosen));
  return action;
}

QMenu* LyricMenu::AddChoice(const QString& name) {
  QMenu* menu = addMenu(name);
  menu->menuAction()->setObjectName(name);
  return menu;
}

void LyricMenu::LoadLanguage(const LanguageSection& texts) {
  for (QAction* action : {full_screen_, second_screen_, on_top_, closer_, farther_, close_,
                          theme_->menuAction(), code_page_->menuAction()}) {
    action->setText(Q(texts.Text("Menu." + action->objectName().toStdString())));
  }
  for (QAction* action : themes_)
    action->setText(Q(texts.Text(action->objectName().toStdString())));
  for (QAction* action : code_pages_) {
    action->setText(Q(texts.Text(action->objectName().toStdString())));
  }
}

void LyricMenu::ShowState(const LyricMenuState& state) {
  full_screen_->setChecked(state.options.full_screen);
  second_screen_->setChecked(state.options.second_screen);
  second_screen_->setEnabled(state.has_other_screen);
  on_top_->setChecked(state.options.on_top);
  closer_->setEnabled(state.zoom > 0);
  farther_->setEnabled(state.zoom < kLyricZoomMax);
  themes_[static_cast<std::size_t>(state.options.theme)]->setChecked(true);
  code_page_->setEnabled(state.takes_code_page);
  for (std::size_t i = 0; i < code_pages_.size(); ++i) {
    code_pages_[i]->setChecked(kCodePageChoices[i] == state.code_page);
  }
}

}  // namespace vexolo
