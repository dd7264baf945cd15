#include "platform/terminal/screen.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

#include "platform/linux/system/descriptor.h"

namespace {

constexpr std::string_view kEraseLine = "\x1b[K";
constexpr std::string_view kEraseBelow = "\x1b[J";

/// Where standard error takes nothing more, there is nobody left to tell.
void Write(std::string_view bytes) {
  (void)WriteAll(STDERR_FILENO, bytes);
}

}  // namespace

bool CScreen::CanRedraw() {
  const char *type = std::getenv("TERM");
  return isatty(STDERR_FILENO) == 1 && (type == nullptr || std::string_view(type) != "dumb");
}

void CScreen::Print(std::string_view line) {
  Redraw({});
  Write(std::string(line) + "\n");
}

void CScreen::Redraw(const std::vector<std::string> &lines) {
  if (lines.empty() && linesDrawn_ == 0) return;
  std::string output = "\r";
  for (std::size_t index = 0; index < lines.size(); ++index) {
    if (index > 0) output += "\r\n";
    // Before the text: after a line that fills the width the last column would be erased.
    output.append(kEraseLine).append(lines[index]);
  }
  std::size_t linesDown = lines.empty() ? 0 : lines.size() - 1;
  if (lines.empty()) {
    output += kEraseBelow;
  } else if (lines.size() < linesDrawn_) {
    output.append("\r\n").append(kEraseBelow);
    ++linesDown;
  }
  output += "\r";
  if (linesDown > 0) output += "\x1b[" + std::to_string(linesDown) + "A";
  Write(output);
  linesDrawn_ = lines.size();
}

CScreen::Size CScreen::CurrentSize() {
  winsize size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0)
    return {80, 24};
  return {size.ws_col, size.ws_row};
}

void CScreen::Beep() {
  Write("\a");
}
