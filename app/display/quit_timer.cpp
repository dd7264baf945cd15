#include "app/display/quit_timer.h"

#include "app/display/main_window.h"
#include "app/display/status_display.h"
#include "platform/processes.h"

void QuitTimerProc(EventLoopTimerRef /*timer*/, void * /*userData*/) {
  SetStatusText("Bye.", 1);
  (void)TransitionWindow(MainWindow.window, kWindowFadeTransitionEffect,
                         kWindowHideTransitionAction, nullptr);
  ExitToShell();
}
