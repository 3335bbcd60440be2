/// The look that ordinary dialogs share with the panel.
#pragma once

class QApplication;

namespace vexolo {

/// Dark charcoal with the panel's accent for what is selected; the toolkit's plain style, so that
/// it looks the same everywhere. Window thread, once, before any window is made.
void UseDarkPalette(QApplication& application);

}  // namespace vexolo
