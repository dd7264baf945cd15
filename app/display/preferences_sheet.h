/// The preferences as a sheet of the main window.
///
/// Each click is saved at once; OK and Cancel only close the sheet, so Cancel takes nothing back.
#pragma once

#include "platform/events.h"

/// Opens the sheet, or refreshes its check boxes when it is open. What is missing from the
/// interface file is done without. Returns the status of showing the sheet.
OSStatus ShowPreferencesSheet();

/// Handles the commands of the sheet's controls. Those that save a value are passed on afterwards,
/// so that their standard handling still happens.
OSStatus PreferencesSheetHandler(EventHandlerCallRef callRef, EventRef event, void *userData);
