/// The workspace: file operations by path, addresses in the browser, sounds and the log.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/types.h"

inline constexpr std::string_view NSWorkspaceMoveOperation = "move";

class NSWorkspace {
 public:
  static NSWorkspace &sharedWorkspace();

  /// Moves the items named in `files` from one folder to another of the same volume, in order,
  /// under the names they have. Answers false, with the item where it was, at the first that cannot
  /// be moved, as when its name is taken: nothing is ever replaced. Any other operation is false.
  /// `tag` is set to noErr, or to the error that made the answer false.
  bool performFileOperation(std::string_view operation, const std::string &source,
                            const std::string &destination, const std::vector<std::string> &files,
                            int *tag);

  /// Opens an address in the user's browser; false when no browser could be started.
  bool openURL(const std::string &url);
};

/// The sound of something that did not work. A terminal stays silent unless it is one.
void NSBeep();
/// The same, asked for by a duration that no longer means anything.
void SysBeep(std::int16_t duration);

/// Writes one formatted line to the system log, and to standard error when that is a terminal.
[[gnu::format(printf, 1, 2)]] void NSLog(const char *format, ...);
