/// An event of the Carbon Event Manager.
#pragma once

#include <optional>

#include "platform/events.h"

struct CarbonEvent {
  OSType eventClass = kEventClassCommand;
  std::uint32_t eventKind = kEventCommandProcess;
  std::optional<HICommand> command;  ///< its direct object
};
