#include "app/help_links.h"

#include "fsutil/short_strings.h"
#include "platform/menus.h"
#include "platform/workspace.h"

namespace {

constexpr OSType kWebsiteCommand = FourChars("WEB1");
constexpr OSType kStoreCommand = FourChars("MAS1");

void InsertLink(MenuRef menu, MenuItemIndex index, const char *text, OSType commandID) {
  PascalString pascalText;
  CopyCStringToPascal(text, pascalText);
  InsertMenuItem(menu, pascalText, static_cast<MenuItemIndex>(index - 1));
  (void)SetMenuItemCommandID(menu, index, commandID);
}

}  // namespace

OSStatus AddHelpMenuLinks() {
  MenuRef menu = nullptr;
  MenuItemIndex first = 0;
  if (const OSStatus status = HMGetHelpMenu(&menu, &first); status != noErr) return status;
  // Both go to the same place, so the one inserted last comes first.
  InsertLink(menu, first, "View in Brenmoor Website...", kWebsiteCommand);
  InsertLink(menu, first, "View in Mac App Store...", kStoreCommand);
  (void)InstallEventHandler(GetMenuEventTarget(menu), HelpMenuCommandHandler,
                            {kEventClassCommand, kEventCommandProcess}, nullptr);
  return noErr;
}

OSStatus HelpMenuCommandHandler(EventHandlerCallRef /*callRef*/, EventRef event,
                                void * /*userData*/) {
  HICommand command;
  if (GetEventParameter(event, kEventParamDirectObject, typeHICommand, sizeof command, &command) !=
      noErr) {
    return eventNotHandledErr;
  }
  switch (command.commandID) {
    case kWebsiteCommand:
      (void)NSWorkspace::sharedWorkspace().openURL(VANNERLY_PRODUCT_URL);
      return noErr;
    case kStoreCommand:
      (void)NSWorkspace::sharedWorkspace().openURL(VANNERLY_STORE_URL);
      return noErr;
    default:
      return eventNotHandledErr;
  }
}
