/// What a user who works in other windows is shown of a run. No call waits for the desktop or
/// fails; where nobody listens, nothing happens.
#pragma once

#include <string>

/// Shows on the program's icon, in docks and task bars, how much of a run is done: from 0 to 100.
/// Meant for some five times a second, not for every file.
void ShowProgressOnIcon(int percent);
/// Takes it away.
void RemoveProgressFromIcon();

/// Tells it in the desktop's notifications, unless one of the program's windows is the active one.
/// A click on it brings the window to the front. `title` may hold names; `text` is the program's
/// own words alone, as some desktops read marks in it. It arrives also when the program ends a
/// second later.
void NotifyInBackground(const std::u16string &title, const std::string &text);
