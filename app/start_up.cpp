#include "app/start_up.h"

#include "app/app_icon.h"
#include "app/commands.h"
#include "app/drop_target.h"
#include "app/help_links.h"
#include "app/main_window.h"
#include "app/open_documents.h"
#include "app/status_display.h"
#include "platform/journal.h"
#include "platform/menus.h"
#include "platform/strings.h"

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

// The window shows the line until the next run; a terminal has it already.
void PutInterruptedRunsRight() {
  for (const std::string &line : RecoverInterruptedRuns()) {
    const auto text = CFStringCreateWithCString(line.c_str(), kCFStringEncodingUTF8);
    if (!text) continue;
    ShortString shown;
    SetStatusText(CopyCFStringToCString(shown, *text), 1);
  }
}

}  // namespace

OSStatus RunVannerly() {
  static IconRef applicationIcon = nullptr;
  RegisterAppIcon("Vannerly", FourChars("APPL"), &applicationIcon);
  if (const OSStatus status = BuildInterface(); status != noErr) return status;
  (void)InstallDropTarget(MainWindow.window);
  ShowWindow(MainWindow.window);
  PutInterruptedRunsRight();
  (void)AEInstallEventHandler(kCoreEventClass, kAEOpenDocuments, HandleOpenDocuments, 0, false);
  EnableMenuCommand(nullptr, kHICommandPreferences);
  (void)InstallEventHandler(GetApplicationEventTarget(), HandleCommand,
                            {kEventClassCommand, kEventCommandProcess}, nullptr);
  const OSStatus status = AddHelpMenuLinks();
  RunApplicationEventLoop();
  return status;
}
