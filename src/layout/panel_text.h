// Fitting labels and values into the panel's lines.
//
// The display does no layout of its own: every text arrives broken into lines with "\n" and
// padded with spaces. These routines are pure; callers collect their pieces in a TextBuffer
// of the text's capacity, which cuts the whole text at the panel's text size.
//
// Widths, padding and line breaks count UTF-8 characters (text/utf8.h), as the grid does:
// a line never breaks inside a character, and a name with accents is padded as far as one
// without. For an ASCII text a character is a byte.
#ifndef TAVIO_LAYOUT_PANEL_TEXT_H
#define TAVIO_LAYOUT_PANEL_TEXT_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "tavio/panel_layout.h"

namespace tavio {

/// text right-aligned in a field of width characters; longer text unchanged.
[[nodiscard]] std::string layout_pad_left(std::string_view text, int width);
/// count spaces; "" for a count below 1.
[[nodiscard]] std::string layout_spaces(int count);
/// text broken into lines of width characters, no "\n" after the last; "" for width 0.
[[nodiscard]] std::string layout_wrap(std::string_view text, int width);
/// A value fitted to width: right-aligned if shorter, as it is if equal, wrapped if longer.
[[nodiscard]] std::string layout_wrap_value(std::string_view text, int width);
/// A label and its value laid out for the panel's line width and theme.
[[nodiscard]] std::string layout_label_value(std::string_view label, std::string_view value,
                                             const PanelLayout& layout);
/// The finished panel text: the alternative theme pushes a text shorter than the screen one
/// line down (line breaks counted among the first capacity characters).
[[nodiscard]] std::string layout_finish(const PanelLayout& layout, std::string_view text,
                                        std::size_t capacity);

}  // namespace tavio

#endif
