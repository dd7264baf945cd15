/// The window's platform as a whole: what the program does before start-up and after the event
/// loop.
#pragma once

#include <optional>

/// Reads the command line, connects to the display and to the session bus, and sees to it that the
/// folders named are opened as soon as the event loop runs. Problems are reported in one line on
/// standard error each.
///
/// Answers an exit status when there is nothing left to do: the version or the help was asked for,
/// the command line was wrong, there is no display, or another Vannerly has taken the folders.
std::optional<int> OpenDesktop(int argc, char **argv);

/// Finishes what the platform has in hand and lets the display go.
void CloseDesktop();
