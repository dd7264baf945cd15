/// Command events as a handler receives them.
#pragma once

#include "platform/common/carbon_event.h"

/// Gives a command to a handler and answers what the handler does.
inline OSStatus SendCommandTo(EventHandlerProc handler, OSType commandID) {
  CarbonEvent event;
  event.command = HICommand{0, commandID, 0, 0};
  return handler(nullptr, &event, nullptr);
}
