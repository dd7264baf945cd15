#include "app/commands.h"

#include "app/display/preferences_sheet.h"
#include "app/results/run_results.h"
#include "engine/flatten_run.h"

OSStatus HandleCommand(EventHandlerCallRef /*callRef*/, EventRef event, void * /*userData*/) {
  HICommand command{};
  (void)GetEventParameter(event, kEventParamDirectObject, typeHICommand, sizeof command, &command);
  switch (command.commandID) {
    case kHICommandPreferences:
      (void)ShowPreferencesSheet();
      return noErr;
    case kShowResultsCommand:
      ShowRunResults();
      return noErr;
    case kHICommandCancel:
      FlattenRun.StopRequested = true;
      return noErr;
    case kHICommandQuit:
      FlattenRun.QuitRequested = true;
      return eventNotHandledErr;
    default:
      return eventNotHandledErr;
  }
}
