/// An event of the Carbon Event Manager.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "platform/types.h"

struct CarbonEvent {
  struct Parameter {
    OSType type;
    std::vector<std::uint8_t> data;
  };
  OSType eventClass = 0;
  std::uint32_t eventKind = 0;
  std::map<OSType, Parameter> parameters;  ///< by name
};
