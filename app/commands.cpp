#include "app/commands.h"

#include "app/display/preferences_sheet.h"
#include "app/history/taking_back.h"
#include "app/results/run_results.h"
#include "engine/flatten_run.h"
#include "platform/apple_events.h"

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
    case kHICommandUndo:
      TakeBackNewest(TakeBack::kUndo);
      return noErr;
    case kHICommandRedo:
      TakeBackNewest(TakeBack::kRedo);
      return noErr;
    case kHistoryCommand:
      ShowHistory();
      return noErr;
    case kCommandStopAll:
      FlattenRun.StopAllRequested = true;
      AEForgetWaitingEvents();
      [[fallthrough]];
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
