/// The Process Manager, as far as the own process goes.
#pragma once

#include "platform/types.h"

struct ProcessSerialNumber {
  std::uint32_t highLongOfPSN;
  std::uint32_t lowLongOfPSN;
};
static_assert(sizeof(ProcessSerialNumber) == 8);
inline constexpr std::uint32_t kCurrentProcess = 2;

/// Brings the program to the front, as far as the desktop lets it.
OSErr SetFrontProcess(const ProcessSerialNumber &process);

/// Ends the process at once, with the exit status that the run has earned. Only what the platform
/// itself must finish (unwritten preferences, the last drawing) still happens.
[[noreturn]] void ExitToShell();
