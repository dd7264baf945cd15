/// Commands as the user gives them: by menu, button, key, signal or message.
#pragma once

#include "platform/events.h"

inline constexpr OSType kHICommandOpen = FourChars("open");
inline constexpr OSType kHICommandAbout = FourChars("abou");

/// Sends a command, and does what is usual when no handler consumed it: "open" offers a folder
/// chooser, "abou" shows the About box.
void GiveCommand(EventTargetRef target, OSType commandID);
