#include "app/start_up_cli.h"

#include "app/display/main_window.h"
#include "app/open_documents.h"
#include "engine/flatten_run.h"
#include "engine/take_back_run.h"
#include "platform/journal.h"
#include "platform/plan.h"
#include "platform/terminal/terminal.h"

namespace {

/// The run stops before its next file; the standard handling then ends the event loop.
OSStatus HandleQuit(EventHandlerCallRef /*callRef*/, EventRef /*event*/, void * /*userData*/) {
  FlattenRun.QuitRequested = true;
  return eventNotHandledErr;
}

}  // namespace

void StartUpOnTerminal() {
  MainWindow.window = TerminalWindow();
  FetchMainWindowControls();
  // The platform tells what there is to tell.
  if (!IsPlanning()) (void)RecoverInterruptedRuns();
  (void)AEInstallEventHandler(kCoreEventClass, kAEOpenDocuments, HandleOpenDocuments, 0, false);
  (void)InstallEventHandler(GetApplicationEventTarget(), HandleQuit,
                            {kEventClassCommand, kEventCommandProcess}, nullptr);
}

void FlattenOnTerminal() {
  RunApplicationEventLoop();
}

void TakeBackOnTerminal() {
  (void)InstallEventLoopTimer(GetCurrentEventLoop(), 0.001, 0,
                              NewEventLoopTimerUPP(TakeBackTimerProc), nullptr, nullptr);
  RunApplicationEventLoop();
}
