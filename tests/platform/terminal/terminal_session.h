/// Runs calls of the terminal platform in a process of their own, on a pseudo-terminal or a pipe,
/// and shows what came of them.
#pragma once

#include <functional>
#include <string>
#include <vector>

struct TerminalSession {
  std::string output;  ///< all bytes written to standard error
  int status;          ///< the exit status; 128 and the number of a signal that ended the process

  /// The screen as a person sees it at the end, each line without trailing blanks. Throws
  /// std::runtime_error for anything written that a well-behaved drawing has no need of: an unknown
  /// control, a line wider than the screen, or one drawn over that has scrolled away.
  std::vector<std::string> Screen(std::size_t columns) const;
};

/// `body` runs in the child; its result is the exit status.
TerminalSession RunOnTerminal(unsigned short columns, const std::function<int()> &body);
TerminalSession RunOnPipe(const std::function<int()> &body);
