#include "platform/processes.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "platform/desktop/windows/main_window.h"
#include "platform/desktop/windows/notices.h"
#include "platform/journal.h"
#include "platform/linux/tree/item_location.h"
#include "platform/preferences.h"

OSErr SetFrontProcess(const ProcessSerialNumber &process) {
  if (process.highLongOfPSN != 0 || process.lowLongOfPSN != kCurrentProcess) return paramErr;
  QWidget *window = MainWindow();
  if (window == nullptr || !window->isVisible()) return noErr;
  if (window->isMinimized()) window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
  window->raise();
  window->activateWindow();
  return noErr;
}

bool WaitForBusyFolder(const FSRef &folder, const std::string &reason) {
  TellForNow(PathOnDisk(folder) + ": " + reason);
  // Often enough for Stop and Quit to be answered at once.
  constexpr useconds_t kMoment = 50'000;
  (void)usleep(kMoment);
  return true;
}

void ExitToShell() {
  (void)CFPreferencesAppSynchronize();
  (void)std::fflush(nullptr);
  _exit(EXIT_SUCCESS);
}
