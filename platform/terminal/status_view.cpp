#include "platform/terminal/status_view.h"

#include <algorithm>
#include <chrono>
#include <vector>

#include "platform/terminal/screen.h"
#include "platform/terminal/terminal_text.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr Clock::duration kFrame = std::chrono::microseconds(1'000'000 / 60);
constexpr std::size_t kWidestBar = 60;

enum class Style { kNothing, kPlainLines, kRedrawn };

struct View {
  Style style = Style::kNothing;
  CScreen screen;

  bool isBusy = false;
  bool hasBeenBusy = false;
  bool isBarShown = false;
  bool isLine2Shown = false;
  std::string line1;    ///< of the run in hand; UTF-8, like line 2
  std::string counter;  ///< what line 2 said last of it
  double progress = 0;  ///< 0 to 1

  bool hasChanged = false;
  Clock::time_point nextDrawing{};
};

View view;

std::string Cut(std::string_view text, std::size_t columns) {
  return std::string(CutToColumns(TerminalTextFromDisk(text), columns));
}

std::string Bar(std::size_t columns) {
  const std::size_t length = std::min(columns, kWidestBar);
  if (length < 3) return {};
  const std::size_t inside = length - 2;
  const auto done = static_cast<std::size_t>(view.progress * static_cast<double>(inside));
  return "[" + std::string(done, '#') + std::string(inside - done, '.') + "]";
}

std::vector<std::string> LinesToDraw() {
  if (!view.isBusy) return {};
  const auto [columns, rows] = CScreen::CurrentSize();
  std::vector<std::string> lines{Cut(view.line1, columns)};
  if (view.isLine2Shown && !view.counter.empty()) lines.push_back(Cut(view.counter, columns));
  if (view.isBarShown) lines.push_back(Bar(columns));
  // Lines that scrolled off the top could not be drawn over any more.
  if (lines.size() > rows) lines.resize(rows);
  return lines;
}

void BeginFolder() {
  view.isBusy = view.hasBeenBusy = true;
  view.line1.clear();
  view.counter.clear();
}

/// Leaves the two lines that stay of a run.
void EndFolder(std::string_view elapsedTime) {
  if (!view.counter.empty()) PrintLine(TerminalTextFromDisk(view.counter));
  PrintLine(TerminalTextFromDisk(elapsedTime));
  view.counter.clear();
}

void ShowLine1(std::string_view text) {
  if (!view.isBusy) {
    if (view.hasBeenBusy) PrintLine(TerminalTextFromDisk(text));
    return;
  }
  if (view.line1 == text) return;
  view.line1 = text;
  // While the bar is shown line 1 changes with every file; without it, it announces a phase.
  if (view.isBarShown) return;
  if (view.style == Style::kPlainLines) PrintLine(TerminalTextFromDisk(text));
  view.nextDrawing = {};
}

}  // namespace

void StartStatusView(bool isQuiet) {
  if (isQuiet) {
    view.style = Style::kNothing;
  } else {
    view.style = CScreen::CanRedraw() ? Style::kRedrawn : Style::kPlainLines;
  }
}

void PrintLine(std::string_view line) {
  view.screen.Print(line);
  view.hasChanged = true;
}

void ShowFolderTitle(const std::u16string &title) {
  if (view.style == Style::kRedrawn) PrintLine(TerminalText(title));
}

void ShowStatusControl(StatusControl control, bool isShown) {
  switch (control) {
    case StatusControl::kBusyIndicator:
      if (isShown)
        BeginFolder();
      else
        view.isBusy = false;
      break;
    case StatusControl::kProgressBar:
      view.isBarShown = isShown;
      break;
    case StatusControl::kLine2:
      view.isLine2Shown = isShown;
      break;
    case StatusControl::kLine1:
    case StatusControl::kIdleElement:
    case StatusControl::kStopButton:
      break;
  }
  view.hasChanged = true;
}

void ShowStatusText(StatusControl line, std::string_view text) {
  if (view.style == Style::kNothing) return;
  if (line == StatusControl::kLine1) {
    ShowLine1(text);
  } else if (line == StatusControl::kLine2) {
    if (view.isBusy)
      view.counter = text;
    else
      EndFolder(text);
  }
  view.hasChanged = true;
}

void ShowProgress(std::int16_t minimum, std::int16_t value, std::int16_t maximum) {
  const double range = maximum - minimum;
  view.progress = range > 0 ? std::clamp((value - minimum) / range, 0.0, 1.0) : 0.0;
  view.hasChanged = true;
}

void DrawStatusWhenDue() {
  if (view.style != Style::kRedrawn || !view.hasChanged) return;
  const Clock::time_point now = Clock::now();
  if (now < view.nextDrawing) return;
  view.screen.Redraw(LinesToDraw());
  view.hasChanged = false;
  view.nextDrawing = now + kFrame;
}

void ClearStatus() {
  view.screen.Redraw({});
}

void BeepOnTerminal() {
  if (view.style == Style::kRedrawn) CScreen::Beep();
}
