/// Command events as a handler receives them.
#pragma once

#include <cstring>

#include "platform/common/carbon_event.h"
#include "platform/events.h"

inline CarbonEvent MakeCommandEvent(OSType commandID) {
  const HICommand command{0, commandID, 0, 0};
  std::vector<std::uint8_t> data(sizeof command);
  std::memcpy(data.data(), &command, sizeof command);
  return {kEventClassCommand,
          kEventCommandProcess,
          {{kEventParamDirectObject, {typeHICommand, std::move(data)}}}};
}

/// Gives a command to a handler and answers what the handler does.
inline OSStatus SendCommandTo(EventHandlerProc handler, OSType commandID) {
  const CarbonEvent event = MakeCommandEvent(commandID);
  return handler(nullptr, &event, nullptr);
}
