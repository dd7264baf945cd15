/// The Menu Manager, as far as commands and the Help menu go.
#pragma once

#include <cstdint>
#include <string>

#include "platform/events.h"
#include "platform/types.h"

using MenuRef = struct OpaqueMenu *;
using MenuItemIndex = std::uint16_t;  ///< 1 for the first item

/// Makes every menu item of a command available; an empty `menu` stands for all menus.
void EnableMenuCommand(MenuRef menu, OSType commandID);

void DisableMenuCommand(MenuRef onlyMenu, OSType commandID);

/// The item of a command that comes at place `itemIndex` (1 for the first) among those of it, and
/// its menu; an empty `onlyMenu` stands for all menus. menuItemNotFoundErr when there is none.
OSStatus GetIndMenuItemWithCommandID(MenuRef onlyMenu, OSType commandID, std::uint32_t itemIndex,
                                     MenuRef *menu, MenuItemIndex *item);
/// A character in it is never taken for a mark of the menu.
OSStatus SetMenuItemTextWithCFString(MenuRef menu, MenuItemIndex item, const std::u16string &text);

/// The Help menu and the index of the first item that the application may use. menuItemNotFoundErr
/// when there is no Help menu.
OSStatus HMGetHelpMenu(MenuRef *menu, MenuItemIndex *firstCustomItem);

/// Inserts an item after the one at `afterItem` (0: as the first). `pascalText` is a length byte
/// and that many bytes of UTF-8.
void InsertMenuItem(MenuRef menu, const std::uint8_t *pascalText, MenuItemIndex afterItem);
OSStatus SetMenuItemCommandID(MenuRef menu, MenuItemIndex item, OSType commandID);
EventTargetRef GetMenuEventTarget(MenuRef menu);
