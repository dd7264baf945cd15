#include "platform/menus.h"

#include <QAction>
#include <QMenu>
#include <QPointer>
#include <memory>
#include <vector>

#include "platform/common/event_dispatch.h"
#include "platform/desktop/text/plain_text.h"
#include "platform/desktop/windows/commands.h"
#include "platform/desktop/windows/interface_file.h"
#include "platform/desktop/windows/menu_bar.h"
#include "platform/desktop/windows/notices.h"

struct OpaqueMenu {
  QMenu *menu;
  EventTargetRef target;
};

namespace {

QPointer<QMenuBar> menuBar;

std::vector<std::unique_ptr<OpaqueMenu>> &Menus() {
  static std::vector<std::unique_ptr<OpaqueMenu>> menus;
  return menus;
}

constexpr char kCommandID[] = "commandID";

void ConnectItem(QAction *item, EventTargetRef target) {
  // The ID is looked up when the item is chosen: the program may set it later.
  QObject::connect(item, &QAction::triggered, item, [item, target] {
    if (const OSType command = CodeProperty(*item, kCommandID)) GiveCommand(target, command);
  });
}

void SetCommandEnabled(MenuRef onlyMenu, OSType commandID, bool isEnabled) {
  for (const auto &menu : Menus()) {
    if (onlyMenu != nullptr && onlyMenu != menu.get()) continue;
    for (QAction *item : menu->menu->actions()) {
      if (CodeProperty(*item, kCommandID) == commandID) item->setEnabled(isEnabled);
    }
  }
}

QString TextOfCode(OSType code) {
  const char text[] = {static_cast<char>(code >> 24), static_cast<char>(code >> 16),
                       static_cast<char>(code >> 8), static_cast<char>(code)};
  return QString::fromLatin1(text, sizeof text);
}

}  // namespace

void InstallMenuBar(QMenuBar *bar) {
  menuBar = bar;
  for (QMenu *menu : bar->findChildren<QMenu *>()) {
    Menus().push_back(std::make_unique<OpaqueMenu>(OpaqueMenu{menu, NewEventTarget()}));
    for (QAction *item : menu->actions()) ConnectItem(item, Menus().back()->target);
  }
}

QMenuBar *MenuBarToShow() {
  return menuBar != nullptr && menuBar->parentWidget() == nullptr ? menuBar : nullptr;
}

void EnableMenuCommand(MenuRef onlyMenu, OSType commandID) {
  SetCommandEnabled(onlyMenu, commandID, true);
}

void DisableMenuCommand(MenuRef onlyMenu, OSType commandID) {
  SetCommandEnabled(onlyMenu, commandID, false);
}

OSStatus GetIndMenuItemWithCommandID(MenuRef onlyMenu, OSType commandID, std::uint32_t itemIndex,
                                     MenuRef *menu, MenuItemIndex *item) {
  std::uint32_t found = 0;
  for (const auto &itsMenu : Menus()) {
    if (onlyMenu != nullptr && onlyMenu != itsMenu.get()) continue;
    const QList<QAction *> items = itsMenu->menu->actions();
    for (qsizetype i = 0; i < items.size(); ++i) {
      if (CodeProperty(*items[i], kCommandID) != commandID || ++found != itemIndex) continue;
      *menu = itsMenu.get();
      *item = static_cast<MenuItemIndex>(i + 1);
      return noErr;
    }
  }
  return menuItemNotFoundErr;
}

OSStatus SetMenuItemTextWithCFString(MenuRef menu, MenuItemIndex item, const std::u16string &text) {
  if (menu == nullptr) return paramErr;
  QAction *action = menu->menu->actions().value(item - 1);
  if (action == nullptr) return menuItemNotFoundErr;
  action->setText(LabelText(QString::fromStdU16String(text)));
  return noErr;
}

OSStatus HMGetHelpMenu(MenuRef *helpMenu, MenuItemIndex *firstCustomItem) {
  for (const auto &menu : Menus()) {
    if (!menu->menu->property("isHelpMenu").toBool()) continue;
    *helpMenu = menu.get();
    *firstCustomItem = 1;  // The menu's own items come last, as is usual here.
    return noErr;
  }
  TellProblem("the interface file has no Help menu in MenuBar.ui");
  return menuItemNotFoundErr;
}

void InsertMenuItem(MenuRef menu, const std::uint8_t *pascalText, MenuItemIndex afterItem) {
  if (menu == nullptr || pascalText == nullptr) return;
  auto *item = new QAction(LabelText(TextFromUtf8({pascalText + 1, pascalText[0]})), menu->menu);
  ConnectItem(item, menu->target);
  menu->menu->insertAction(menu->menu->actions().value(afterItem), item);
}

OSStatus SetMenuItemCommandID(MenuRef menu, MenuItemIndex item, OSType commandID) {
  if (menu == nullptr) return paramErr;
  QAction *action = menu->menu->actions().value(item - 1);
  if (action == nullptr) return menuItemNotFoundErr;
  action->setProperty(kCommandID, TextOfCode(commandID));
  return noErr;
}

EventTargetRef GetMenuEventTarget(MenuRef menu) {
  return menu != nullptr ? menu->target : nullptr;
}
