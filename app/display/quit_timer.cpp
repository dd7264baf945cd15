#include "app/display/quit_timer.h"

#include "app/display/main_window.h"
#include "app/display/status_display.h"
#include "platform/processes.h"

namespace {

bool isQuitHeldBack = false;

}  // namespace

void HoldQuitBack(bool isHeldBack) {
  isQuitHeldBack = isHeldBack;
}

void QuitTimerProc(EventLoopTimerRef /*timer*/, void * /*userData*/) {
  if (isQuitHeldBack) return;
  SetStatusText("Bye.", 1);
  (void)TransitionWindow(MainWindow.window, kWindowFadeTransitionEffect,
                         kWindowHideTransitionAction, nullptr);
  ExitToShell();
}
