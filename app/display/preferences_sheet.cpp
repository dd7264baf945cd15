#include "app/display/preferences_sheet.h"

#include "app/display/main_window.h"
#include "app/display/status_display.h"
#include "platform/preferences.h"
#include "prefs/preferences.h"

namespace {

struct CheckBox {
  std::int32_t id;
  OSType commandID;
  PreferenceKey key;
  bool (*getter)();
};

constexpr std::int32_t kTrashControlID = 12;
constexpr CheckBox kCheckBoxes[] = {
    {4, FourChars("Qwdo"), kQuitWhenDone, GetQuitWhenDone},
    {7, FourChars("TBAF"), kIgnoreApplications, GetIgnoreApplications},
    {8, FourChars("RNME"), kRenameDuplicates, GetRenameDuplicates},
    {9, FourChars("DLTE"), kDeleteEmptiedFolders, GetDeleteEmptiedFolders},
    {kTrashControlID, FourChars("Trsh"), kDeleteToTrash, GetDeleteToTrash},
    {10, FourChars("CFWD"), kAggregateFilesWhenDone, GetAggregateFilesWhenDone},
    {13, FourChars("Prvw"), kPreviewFirst, GetPreviewFirst},
};
constexpr std::size_t kCheckBoxCount = std::size(kCheckBoxes);
constexpr std::int32_t kOperationControlID = 11;
constexpr OSType kOperationCommand = FourChars("Oper");

/// All empty while the sheet is closed.
struct PreferencesSheet {
  WindowRef window = nullptr;
  ControlRef checkBoxes[kCheckBoxCount] = {};
  ControlRef operation = nullptr;
};
PreferencesSheet sheet;

void CreateSheet() {
  IBNibRef nib = nullptr;
  if (CreateNibReference("main", &nib) != noErr) return;
  const OSStatus status = CreateWindowFromNib(nib, "PreferencesWindow", &sheet.window);
  DisposeNibReference(nib);
  if (status != noErr) return;
  if (InstallEventHandler(GetWindowEventTarget(sheet.window), PreferencesSheetHandler,
                          {kEventClassCommand, kEventCommandProcess}, nullptr) != noErr) {
    return;
  }
  for (std::size_t i = 0; i < kCheckBoxCount; ++i) {
    (void)GetControlByID(sheet.window, {kControlSignature, kCheckBoxes[i].id},
                         &sheet.checkBoxes[i]);
  }
  (void)GetControlByID(sheet.window, {kControlSignature, kOperationControlID}, &sheet.operation);
  SetControlValue(sheet.operation, static_cast<std::int16_t>(GetOperation()));
}

// Without deletion there is nothing that could go to the trash.
void EnableTrashBox() {
  ControlRef box = nullptr;
  (void)GetControlByID(sheet.window, {kControlSignature, kTrashControlID}, &box);
  (void)(GetDeleteEmptiedFolders() ? EnableControl(box) : DisableControl(box));
}

void CloseSheet() {
  (void)HideSheetWindow(sheet.window);
  DisposeWindow(sheet.window);
  // The controls went with the window; an empty reference is safe should it not come back.
  sheet = {};
}

// Whoever turns deletion on and has never chosen between the two gets the trash with it: deleting
// for good is a choice of its own. Called first, so that a run under way never sees the one without
// the other.
void OfferTrash() {
  if (ReadStoredPreference(kDeleteToTrash)) return;
  CFPreferencesSetAppValue(kDeleteToTrash.name, true);
  ControlRef box = nullptr;
  (void)GetControlByID(sheet.window, {kControlSignature, kTrashControlID}, &box);
  SetControlValue(box, 1);
}

void SaveCheckBox(std::size_t index) {
  const std::string_view key = kCheckBoxes[index].key.name;
  const bool isOn = GetControlValue(sheet.checkBoxes[index]) != 0;
  if (isOn && key == kDeleteEmptiedFolders.name) OfferTrash();
  CFPreferencesSetAppValue(key, isOn);
  (void)CFPreferencesAppSynchronize();
  EnableTrashBox();
}

// Not synchronized, as the getter reads without that; the next synchronize writes it.
void SaveOperation() {
  CFPreferencesSetAppValue(kOperation.name, std::int64_t{GetControlValue(sheet.operation)});
}

}  // namespace

OSStatus ShowPreferencesSheet() {
  if (sheet.window == nullptr) CreateSheet();
  SetStatusText(kIdleHint, 1);
  for (std::size_t i = 0; i < kCheckBoxCount; ++i) {
    SetControlValue(sheet.checkBoxes[i], kCheckBoxes[i].getter() ? 1 : 0);
  }
  EnableTrashBox();
  BringToFront(sheet.window);
  SetPortWindowPort(sheet.window);
  return ShowSheetWindow(sheet.window, MainWindow.window);
}

OSStatus PreferencesSheetHandler(EventHandlerCallRef /*callRef*/, EventRef event,
                                 void * /*userData*/) {
  if (GetEventClass(event) != kEventClassCommand || GetEventKind(event) != kEventCommandProcess) {
    return eventNotHandledErr;
  }
  HICommand command{};
  (void)GetEventParameter(event, kEventParamDirectObject, typeHICommand, sizeof command, &command);
  if (command.commandID == kHICommandOK || command.commandID == kHICommandCancel) {
    CloseSheet();
    return noErr;
  }
  if (command.commandID == kOperationCommand) SaveOperation();
  for (std::size_t i = 0; i < kCheckBoxCount; ++i) {
    if (command.commandID == kCheckBoxes[i].commandID) SaveCheckBox(i);
  }
  return eventNotHandledErr;
}
