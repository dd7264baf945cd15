/// Commands as the user gives them: by menu, button, key, signal or message.
#pragma once

#include "platform/events.h"

/// Sends a command. Before a Stop or Quit that would have files deleted the user is asked; the
/// command is then sent by the answer.
void GiveCommand(EventTargetRef target, OSType commandID);
