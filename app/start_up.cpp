#include "app/start_up.h"

#include "app/app_icon.h"
#include "app/commands.h"
#include "app/display/main_window.h"
#include "app/drop_target.h"
#include "app/help_links.h"
#include "app/history/taking_back.h"
#include "app/preview.h"
#include "platform/journal.h"
#include "platform/menus.h"

namespace {

// Leaves the window hidden, so that nothing shows while it is being prepared.
OSStatus BuildInterface() {
  IBNibRef nib = nullptr;
  OSStatus status = CreateNibReference("main", &nib);
  if (status != noErr) return status;
  status = SetMenuBarFromNib(nib, "MenuBar");
  if (status != noErr) return status;
  status = CreateWindowFromNib(nib, "MainWindow", &MainWindow.window);
  if (status != noErr) return status;
  HideWindow(MainWindow.window);
  FetchMainWindowControls();
  DisposeNibReference(nib);
  return noErr;
}

}  // namespace

OSStatus RunVannerly() {
  static IconRef applicationIcon = nullptr;
  RegisterAppIcon("Vannerly", FourChars("APPL"), &applicationIcon);
  if (const OSStatus status = BuildInterface(); status != noErr) return status;
  (void)InstallDropTarget(MainWindow.window);
  ShowWindow(MainWindow.window);
  (void)RecoverInterruptedRuns();  // The platform tells what there is to tell.
  InstallPreviews();
  OfferTakingBack();
  EnableMenuCommand(nullptr, kHICommandPreferences);
  (void)InstallEventHandler(GetApplicationEventTarget(), HandleCommand,
                            {kEventClassCommand, kEventCommandProcess}, nullptr);
  const OSStatus status = AddHelpMenuLinks();
  RunApplicationEventLoop();
  return status;
}
