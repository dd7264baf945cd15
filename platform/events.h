/// The Carbon Event Manager: the event loop, its timers, commands and their handlers.
///
/// There is one thread. Handlers and timers run on it, from RunApplicationEventLoop; commands and
/// drags are delivered from WaitNextEvent too, and in a window from the File Manager's calls that
/// change or list folders. Timers never fire there: one that comes due meanwhile waits until the
/// work in hand has returned to the event loop, and so does an open-documents event.
#pragma once

#include "platform/types.h"

using EventTargetRef = struct OpaqueEventTarget *;
using EventHandlerCallRef = struct OpaqueEventHandlerCall *;
using EventRef = const struct CarbonEvent *;
using EventHandlerProc = OSStatus (*)(EventHandlerCallRef callRef, EventRef event, void *userData);

struct EventTypeSpec {
  OSType eventClass;
  std::uint32_t eventKind;
};
inline constexpr OSType kEventClassCommand = FourChars("cmds");
inline constexpr std::uint32_t kEventCommandProcess = 1;
inline constexpr OSType kEventClassWindow = FourChars("wind");
inline constexpr std::uint32_t kEventWindowActivated = 5;
inline constexpr OSType kEventParamDirectObject = FourChars("----");
inline constexpr OSType typeHICommand = FourChars("hcmd");

inline constexpr OSType kHICommandCancel = FourChars("not!");
inline constexpr OSType kHICommandOK = FourChars("ok  ");
inline constexpr OSType kHICommandQuit = FourChars("quit");
inline constexpr OSType kHICommandUndo = FourChars("undo");
inline constexpr OSType kHICommandRedo = FourChars("redo");
inline constexpr OSType kHICommandPreferences = FourChars("pref");

/// Stops the folder in hand and all that come after it.
inline constexpr OSType kCommandStopAll = FourChars("stpA");

#pragma pack(push, 2)
/// What the user has chosen.
struct HICommand {
  std::uint32_t attributes;
  OSType commandID;
  std::uint32_t menuRef;
  std::uint16_t menuItemIndex;
};
#pragma pack(pop)
static_assert(sizeof(HICommand) == 14);

EventTargetRef GetApplicationEventTarget();

/// Installs a handler; the one installed last is asked first. An event goes from the target it is
/// sent to on to the application's while handlers answer eventNotHandledErr.
OSStatus InstallEventHandler(EventTargetRef target, EventHandlerProc handler,
                             const EventTypeSpec &type, void *userData);

OSType GetEventClass(EventRef event);
std::uint32_t GetEventKind(EventRef event);

/// Copies a parameter of exactly `type` and `size` bytes; eventParameterNotFoundErr otherwise.
OSStatus GetEventParameter(EventRef event, OSType name, OSType type, std::size_t size, void *data);

/// Sends a command through the handlers of `target` (none: no handlers of its own) and then of the
/// application. A "quit" that no handler consumes ends the event loop: that is its standard
/// handling.
OSStatus SendCommand(EventTargetRef target, OSType commandID);

using EventLoopRef = struct OpaqueEventLoop *;
using EventLoopTimerRef = struct OpaqueEventLoopTimer *;
using EventTimerInterval = double;  ///< seconds
using EventLoopTimerProc = void (*)(EventLoopTimerRef timer, void *userData);
using EventLoopTimerUPP = EventLoopTimerProc;

EventLoopRef GetCurrentEventLoop();
EventLoopTimerUPP NewEventLoopTimerUPP(EventLoopTimerProc procedure);

/// Arms a timer that fires once after `fireDelay` seconds; only an `interval` of 0 is supported
/// (paramErr). `timer` may be left out.
OSStatus InstallEventLoopTimer(EventLoopRef loop, EventTimerInterval fireDelay,
                               EventTimerInterval interval, EventLoopTimerUPP procedure,
                               void *userData, EventLoopTimerRef *timer);

/// Handles events until QuitApplicationEventLoop was called, or, on a terminal, until nothing is
/// left to wait for.
void RunApplicationEventLoop();
void QuitApplicationEventLoop();

using EventMask = std::uint16_t;
struct EventRecord {
  std::uint16_t what;
};
using RgnHandle = struct OpaqueRegion *;

/// With an empty mask this is the yield: what is due is drawn, and commands and drags that have
/// arrived are delivered. A text that begins a phase is always due. No event is taken, so it
/// answers false. Costs next to nothing when nothing is due.
bool WaitNextEvent(EventMask mask, EventRecord *event, std::uint32_t sleep, RgnHandle mouseRegion);
