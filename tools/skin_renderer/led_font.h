/// The dot-matrix font of the LED displays.
#pragma once

namespace skin_renderer {

/// A character cell is a part of one even grid of dots: 7 columns, of which the last stays free,
/// and 11 rows: one free, eight from the top of a capital to the base line, two below it.
inline constexpr int kLedColumns = 7;
inline constexpr int kLedRows = 11;
inline constexpr int kLedGlyphs = 96;

/// True where the glyph has a dot. `code`: character code - 32, 0..95; glyph 95 (code 127) is a
/// full cell. False outside of the cell.
bool LedDot(int code, int row, int column);

}  // namespace skin_renderer
