#include "platform/windows.h"

#include <QApplication>
#include <QMainWindow>
#include <QThread>
#include <memory>
#include <vector>

#include "platform/desktop/text/plain_text.h"
#include "platform/desktop/widgets/proxy_icon.h"
#include "platform/desktop/windows/control_drawing.h"
#include "platform/desktop/windows/interface_file.h"
#include "platform/desktop/windows/main_window.h"
#include "platform/desktop/windows/menu_bar.h"
#include "platform/desktop/windows/notices.h"
#include "platform/desktop/windows/sheet_place.h"
#include "platform/desktop/windows/window.h"
#include "platform/linux/system/resource_files.h"
#include "platform/linux/tree/item_location.h"

/// An interface file is a folder of resources with one file for each menu bar and window.
struct OpaqueNib {
  std::string name;
};

namespace {

std::vector<std::unique_ptr<OpaqueNib>> openNibs;

/// The widget of that name in the interface file; none when the file has none, which is told.
QWidget *LoadFromNib(IBNibRef nib, std::string_view name) {
  if (nib == nullptr) return nullptr;
  const std::string part = nib->name + "/" + std::string(name) + ".ui";
  const auto path = FindResourceFile(part);
  QWidget *widget = path ? LoadWidget(QString::fromStdString(*path)) : nullptr;
  if (widget == nullptr)
    TellProblem(path ? *path + ": cannot be used as a part of the interface"
                     : "the interface file has no " + part);
  return widget;
}

ProxyIcon *ProxyIconOf(WindowRef window) {
  return window != nullptr ? window->widget->findChild<ProxyIcon *>() : nullptr;
}

}  // namespace

OSStatus CreateNibReference(std::string_view name, IBNibRef *nib) {
  if (!FindResourceFile(name)) {
    TellProblem("there is no interface file \"" + std::string(name) + "\"");
    return kIBCarbonRuntimeCantFindNibFile;
  }
  openNibs.push_back(std::make_unique<OpaqueNib>(OpaqueNib{std::string(name)}));
  *nib = openNibs.back().get();
  return noErr;
}

OSStatus SetMenuBarFromNib(IBNibRef nib, std::string_view name) {
  QWidget *widget = LoadFromNib(nib, name);
  if (widget == nullptr) return kIBCarbonRuntimeCantFindObject;
  auto *bar = qobject_cast<QMenuBar *>(widget);
  if (bar == nullptr) {
    TellProblem("the interface file has no menu bar in " + std::string(name) + ".ui");
    widget->deleteLater();
    return kIBCarbonRuntimeCantFindObject;
  }
  InstallMenuBar(bar);
  return noErr;
}

OSStatus CreateWindowFromNib(IBNibRef nib, std::string_view name, WindowRef *window) {
  QWidget *widget = LoadFromNib(nib, name);
  if (widget == nullptr) return kIBCarbonRuntimeCantFindObject;
  auto *created = new OpaqueWindow(widget);  // Belongs to the widget.
  if (auto *main = qobject_cast<QMainWindow *>(widget)) {
    if (QMenuBar *bar = MenuBarToShow()) main->setMenuBar(bar);
    SetMainWindow(main);
  }
  *window = created;
  return noErr;
}

void DisposeNibReference(IBNibRef nib) {
  std::erase_if(openNibs, [nib](const auto &open) { return open.get() == nib; });
}

void ShowWindow(WindowRef window) {
  if (window != nullptr) window->widget->show();
}

void HideWindow(WindowRef window) {
  if (window != nullptr) window->widget->hide();
}

void DisposeWindow(WindowRef window) {
  if (window == nullptr) return;
  window->widget->hide();
  // Not at once: one of the window's own buttons may have led here.
  window->widget->deleteLater();
}

void BringToFront(WindowRef window) {
  if (window != nullptr) window->widget->raise();
}

OSStatus SetWindowTitleWithCFString(WindowRef window, const std::u16string &title) {
  if (window == nullptr) return paramErr;
  window->widget->setWindowTitle(TitleText(QString::fromStdU16String(title)));
  return noErr;
}

OSStatus SetWindowProxyFSSpec(WindowRef window, const FSSpec &item) {
  ProxyIcon *icon = ProxyIconOf(window);
  if (icon == nullptr) return paramErr;
  FSRef ref;
  if (const OSErr error = FSpMakeFSRef(item, &ref); error != noErr) return error;
  icon->SetItem(PathOnDisk(ref));
  return noErr;
}

OSStatus SetWindowModified(WindowRef window, bool modified) {
  if (window == nullptr) return paramErr;
  window->widget->setWindowModified(modified);
  if (ProxyIcon *icon = ProxyIconOf(window)) icon->SetModified(modified);
  return noErr;
}

OSStatus TransitionWindow(WindowRef window, WindowTransitionEffect effect,
                          WindowTransitionAction action, const Rect *) {
  if (window == nullptr || effect != kWindowFadeTransitionEffect ||
      action != kWindowHideTransitionAction)
    return paramErr;
  constexpr int kSteps = 15;
  constexpr unsigned long kMillisecondsPerStep = 20;
  DrawChangedControls();
  // Drawn by hand: nothing that arrives meanwhile may be taken and then lost with the window.
  for (int step = kSteps; step >= 0; --step) {
    window->widget->setWindowOpacity(static_cast<double>(step) / kSteps);
    window->widget->repaint();
    QThread::msleep(kMillisecondsPerStep);
  }
  window->widget->hide();
  window->widget->setWindowOpacity(1);
  return noErr;
}

OSStatus GetWindowBounds(WindowRef window, std::uint16_t regionCode, Rect *bounds) {
  if (window == nullptr || regionCode != kWindowContentRgn) return paramErr;
  // Without the menu bar.
  const QPoint corner = window->content->mapToGlobal(QPoint(0, 0));
  const QSize size = window->content->size();
  bounds->top = static_cast<std::int16_t>(corner.y());
  bounds->left = static_cast<std::int16_t>(corner.x());
  bounds->bottom = static_cast<std::int16_t>(corner.y() + size.height());
  bounds->right = static_cast<std::int16_t>(corner.x() + size.width());
  return noErr;
}

OSStatus ShowSheetWindow(WindowRef sheet, WindowRef parent) {
  if (sheet == nullptr || parent == nullptr) return paramErr;
  sheet->isSheet = true;
  QWidget *widget = sheet->widget;
  if (widget->parentWidget() != parent->widget) {
    // A dialog of the window: it stays above it and goes with it. Not modal, because the Stop
    // button, drops and the closing of the window must go on working while it is open.
    widget->setParent(parent->widget, Qt::Dialog);
    widget->setWindowModality(Qt::NonModal);
  }
  DrawChangedControls();
  if (!widget->isVisible()) PlaceSheet(*widget, *parent->widget);
  BringUp(*widget);
  return noErr;
}

OSStatus HideSheetWindow(WindowRef sheet) {
  if (sheet == nullptr) return paramErr;
  sheet->widget->hide();
  return noErr;
}

EventTargetRef GetWindowEventTarget(WindowRef window) {
  return window != nullptr ? window->target : nullptr;
}
