#include "platform/desktop/usual_commands.h"

#include "platform/desktop/doors/folder_chooser.h"
#include "platform/desktop/windows/about_box.h"
#include "platform/desktop/windows/notices.h"
#include "platform/events.h"

namespace {

constexpr OSType kHICommandOpen = FourChars("open");
constexpr OSType kPreviewFolder = FourChars("pvew");
constexpr OSType kHICommandAbout = FourChars("abou");
constexpr OSType kMessagesCommand = FourChars("mesg");

OSStatus HandleUsualCommand(EventHandlerCallRef, EventRef event, void *) {
  HICommand command{};
  (void)GetEventParameter(event, kEventParamDirectObject, typeHICommand, sizeof command, &command);
  switch (command.commandID) {
    case kHICommandOpen:
      OfferFolderChooser(kAEOpenDocuments);
      return noErr;
    case kPreviewFolder:
      OfferFolderChooser(kAEPreviewDocuments);
      return noErr;
    case kHICommandAbout:
      ShowAboutBox();
      return noErr;
    case kMessagesCommand:
      ShowMessages();
      return noErr;
    default:
      return eventNotHandledErr;
  }
}

}  // namespace

void InstallUsualCommands() {
  (void)InstallEventHandler(GetApplicationEventTarget(), HandleUsualCommand,
                            {kEventClassCommand, kEventCommandProcess}, nullptr);
}
