/// Standard error as a screen: lines that stay, and below them a few that are drawn over.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Errors of writing are ignored everywhere: a run goes on when nobody can read its status.
class CScreen {
 public:
  /// Whether standard error is a terminal on which lines can be drawn over.
  static bool CanRedraw();

  /// Prints a line that stays, above the ones that are drawn over.
  void Print(std::string_view line);

  /// Draws these lines in place of the ones drawn last; none takes them away.
  ///
  /// The cursor rests at the start of the first line, so that what other programs write is followed
  /// by the drawing and not covered by it.
  void Redraw(const std::vector<std::string> &lines);

  /// The terminal's size now, or 80 by 24 when it does not say.
  struct Size {
    std::size_t columns;
    std::size_t rows;
  };
  static Size CurrentSize();

  static void Beep();

 private:
  std::size_t linesDrawn_ = 0;
};
