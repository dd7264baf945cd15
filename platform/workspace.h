/// The workspace: addresses in the browser, sounds and the log.
#pragma once

#include <string>

#include "platform/types.h"

class NSWorkspace {
 public:
  static NSWorkspace &sharedWorkspace() {
    static NSWorkspace workspace;
    return workspace;
  }

  /// Opens an address in the user's browser; false when no browser could be started.
  bool openURL(const std::string &url);
};

/// The sound of something that did not work. A terminal stays silent unless it is one.
void NSBeep();
/// The same, asked for by a duration that no longer means anything.
void SysBeep(std::int16_t duration);

/// Writes one formatted line to the system log, and to standard error when that is a terminal.
[[gnu::format(printf, 1, 2)]] void NSLog(const char *format, ...);
