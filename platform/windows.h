/// The Window Manager, and the interface file that windows come from.
///
/// An empty reference is let pass by every call and changes nothing; calls that return a status
/// then return paramErr. Interface files are data: what stands in them is looked up by name,
/// control ID and command ID.
#pragma once

#include <string>
#include <string_view>

#include "platform/events.h"
#include "platform/file_manager.h"
#include "platform/types.h"

using IBNibRef = struct OpaqueNib *;
using WindowRef = struct OpaqueWindow *;

/// In pixels.
struct Rect {
  std::int16_t top;
  std::int16_t left;
  std::int16_t bottom;
  std::int16_t right;
};

/// Opens the interface file of that name. kIBCarbonRuntimeCantFindNibFile when there is none.
OSStatus CreateNibReference(std::string_view name, IBNibRef *nib);

/// Builds the menu bar of that name and shows it. kIBCarbonRuntimeCantFindObject when the file has
/// none.
OSStatus SetMenuBarFromNib(IBNibRef nib, std::string_view name);

/// Builds the window of that name, hidden. The window lives until DisposeWindow.
/// kIBCarbonRuntimeCantFindObject when the file has none; `window` is then left alone.
OSStatus CreateWindowFromNib(IBNibRef nib, std::string_view name, WindowRef *window);

void DisposeNibReference(IBNibRef nib);

void ShowWindow(WindowRef window);
void HideWindow(WindowRef window);
void DisposeWindow(WindowRef window);
void BringToFront(WindowRef window);

OSStatus SetWindowTitleWithCFString(WindowRef window, const std::u16string &title);
/// Makes the window stand for an item: the user can see where it lies, drag it and open it.
OSStatus SetWindowProxyFSSpec(WindowRef window, const FSSpec &item);
OSStatus SetWindowModified(WindowRef window, bool modified);

using WindowTransitionEffect = std::uint32_t;
using WindowTransitionAction = std::uint32_t;
inline constexpr WindowTransitionEffect kWindowFadeTransitionEffect = 4;
inline constexpr WindowTransitionAction kWindowHideTransitionAction = 2;

/// Shows or hides a window with an effect; returns when the effect is over. `bounds` may be left
/// out.
OSStatus TransitionWindow(WindowRef window, WindowTransitionEffect effect,
                          WindowTransitionAction action, const Rect *bounds);

inline constexpr std::uint16_t kWindowContentRgn = 33;
/// The bounds of a region of the window, in the coordinates of the screen.
OSStatus GetWindowBounds(WindowRef window, std::uint16_t regionCode, Rect *bounds);

/// Makes the window the one that is drawn to. Nothing to do: every window draws itself.
inline void SetPortWindowPort(WindowRef /*window*/) {}

/// Shows a window as a sheet of `parent`; commands of both go on being delivered.
OSStatus ShowSheetWindow(WindowRef sheet, WindowRef parent);
OSStatus HideSheetWindow(WindowRef sheet);

EventTargetRef GetWindowEventTarget(WindowRef window);
