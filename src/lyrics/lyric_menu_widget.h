/// The context menu of the lyric window.
#pragma once

#include <QMenu>
#include <array>
#include <cstdint>
#include <functional>

#include "lyrics/lyric_colours.h"
#include "lyrics/lyric_view_options.h"
#include "settings/language.h"

namespace vexolo {

/// What the menu is to show as chosen and as possible.
struct LyricMenuState {
  LyricViewOptions options;
  bool has_other_screen = false;
  int zoom = 0;
  bool takes_code_page = false;  ///< of the song that is loaded
  std::int16_t code_page = kCodePageNone;
};

/// What a choice does. None may be empty.
struct LyricMenuChoices {
  std::function<void(bool)> full_screen;
  std::function<void(bool)> second_screen;
  std::function<void(bool)> on_top;
  std::function<void(int steps)> nearer;  ///< 1 or -1
  std::function<void(int)> theme;
  std::function<void(std::int16_t)> code_page;
  std::function<void()> close;
};

/// Its actions are named as their texts in the language file, without "Menu.". Window thread only.
class LyricMenu final : public QMenu {
 public:
  LyricMenu(QWidget* parent, LyricMenuChoices choices);

  void LoadLanguage(const LanguageSection& texts);
  void ShowState(const LyricMenuState& state);

 private:
  QAction* Add(QMenu& menu, const QString& name, const QString& keys, std::function<void()> chosen);
  QAction* AddToggle(const QString& name, const QString& keys, std::function<void(bool)> chosen);
  QMenu* AddChoice(const QString& name);
  void MakeSwitches();
  void MakeThemes();
  void MakeCodePages();

  const LyricMenuChoices choices_;
  QAction* full_screen_ = nullptr;
  QAction* second_screen_ = nullptr;
  QAction* on_top_ = nullptr;
  QAction* closer_ = nullptr;
  QAction* farther_ = nullptr;
  QAction* close_ = nullptr;
  QMenu* theme_ = nullptr;
  QMenu* code_page_ = nullptr;
  std::array<QAction*, kLyricThemes.size()> themes_{};
  std::array<QAction*, kCodePageChoices.size()> code_pages_{};
};

}  // namespace vexolo
