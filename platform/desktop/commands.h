/// Commands as the user gives them: by menu, button, key, signal or message.
#pragma once

#include <QWidget>

#include "platform/events.h"

inline constexpr OSType kHICommandOpen = FourChars("open");
inline constexpr OSType kHICommandAbout = FourChars("abou");

/// Sends a command, and does what is usual when no handler consumed it: "open" offers a folder
/// chooser, "abou" shows the About box. Before a Stop or Quit that would have files deleted the
/// user is asked; the command is then sent by the answer.
void GiveCommand(EventTargetRef target, OSType commandID);

/// Shows a window in front of the others and gives it the keyboard.
void BringUp(QWidget &window);
