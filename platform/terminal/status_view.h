/// What the controls of the main window come to on a terminal.
///
/// While a run is busy (control 2 is shown), a terminal has the two status lines and the bar drawn
/// in place, as far as the window would show them; elsewhere each phase gets a plain line. A run
/// leaves behind its last counter, the elapsed time and what line 1 says to an idle user. What line
/// 1 says before the first run has been told as a problem already.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// The IDs of the controls and what they are for.
enum class StatusControl : std::int32_t {
  kLine1 = 1,
  kBusyIndicator = 2,
  kIdleElement = 4,
  kProgressBar = 5,
  kLine2 = 6,
  kStopButton = 7,
};

/// Nothing is shown before this has said how.
void StartStatusView(bool isQuiet);

/// Prints a line that stays, whatever is being drawn.
void PrintLine(std::string_view line);

void ShowFolderTitle(const std::u16string &title);
void ShowStatusControl(StatusControl control, bool isShown);

/// `text` is UTF-8.
void ShowStatusText(StatusControl line, std::string_view text);
void ShowProgress(std::int16_t minimum, std::int16_t value, std::int16_t maximum);

/// Brings the terminal up to date when that is due: at most 60 times a second, and at once when a
/// new phase begins. Costs next to nothing otherwise.
void DrawStatusWhenDue();

/// Takes away what is drawn in place.
void ClearStatus();

/// A beep, where there is somebody to hear it.
void BeepOnTerminal();
