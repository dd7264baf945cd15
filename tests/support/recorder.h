/// The platform of tests: it records the calls of the window and control managers in order, keeps
/// the state of the controls, and lets a test act during a yield. Everything of the file system is
/// real.
///
/// One line is recorded a call, the name of the call first, texts in quotes:
///
///     CreateWindowFromNib "MainWindow"     SetWindowTitle "photos"
///     ShowControl 2                        SetControlData 1 "Moving File: a.txt"
///     SetControlValue 5 8191               WaitNextEvent
///     SetWindowModified false              NSBeep
///
/// Controls are named by their ID, those of other windows than the main one by the window's name
/// and their ID: `SetControlValue PreferencesWindow.4 1`. Questions are not recorded, nor what has
/// to be looked at on a real desktop: menus, icons, ports and the frame of a drag.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/drags.h"
#include "platform/results_window.h"
#include "platform/types.h"

/// What the user would see of a control.
struct OpaqueControl {
  std::string key;   ///< the name under which it is recorded
  std::string text;  ///< UTF-8, as it was set
  std::int16_t value = 0;
  bool shown = true;
};

/// Thrown by ExitToShell, so that a test can go on where the program would have ended.
struct ExitedToShell {};

/// One item of a drag: its flavors, and the data of each. Without any the data cannot be had.
using RecordedDragItem = std::map<FlavorType, std::vector<std::uint8_t>>;

/// A drag that a test makes up: item 1 is the first.
struct OpaqueDrag {
  std::vector<RecordedDragItem> items;
  bool isOverPlace = false;
};

class CRecorder {
 public:
  /// The calls so far.
  const std::vector<std::string> &Calls() const { return calls_; }
  /// Those that begin with `prefix`, in order.
  std::vector<std::string> CallsBeginningWith(std::string_view prefix) const;
  void ForgetCalls() { calls_.clear(); }

  /// The state of a control of the main window, or of the window named.
  OpaqueControl &Control(std::int32_t id, std::string_view window = "MainWindow");
  /// The list that the results window was last asked to show; null for none.
  CResultList *&Results() { return results_; }
  /// How often the program has yielded.
  int Yields() const { return yields_; }

  /// Runs `action` in every yield, with the number of the yield (1 for the first).
  void AtEachYield(std::function<void(int yield)> action) { atEachYield_ = std::move(action); }
  /// Calls the drag handlers that are installed; noErr when there is none.
  OSErr TrackDrag(DragTrackingMessage message, DragRef drag);
  OSErr DropDrag(DragRef drag);

  /// For the platform's calls: notes a line; does what a yield and the event loop do.
  void Record(std::string line) { calls_.push_back(std::move(line)); }
  void Yield();
  void RunEventLoop();

 private:
  std::vector<std::string> calls_;
  std::map<std::string, OpaqueControl, std::less<>> controls_;  ///< by the name in the record
  int yields_ = 0;
  CResultList *results_ = nullptr;
  std::function<void(int)> atEachYield_;
};

/// The one recorder of the process.
///
/// Its event loop does not sleep: timers fire in the order in which they are due, each as if its
/// time had come, until none is armed or the loop was quit.
CRecorder &Recorder();

/// Begins anew: no calls, no windows, no actions, nothing missing, no timer armed. Event handlers
/// of the application stay installed.
void ResetRecorder();
