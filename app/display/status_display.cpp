#include "app/display/status_display.h"

#include "app/display/main_window.h"
#include "platform/events.h"

void YieldToEvents() {
  EventRecord event;
  (void)WaitNextEvent(0, &event, 0, nullptr);
}

void SetStatusText(const char *text, std::int32_t line) {
  PascalString pascalText;
  CopyCStringToPascal(text, pascalText);
  if (line == 2) {
    (void)SetControlTextAndDraw(MainWindow.statusLine2, pascalText, true);
  } else if (line == 1) {
    (void)SetControlTextAndDraw(MainWindow.statusLine1, pascalText, true);
  }
  YieldToEvents();
}

OSStatus SetControlTextAndDraw(ControlRef control, const PascalString &text, bool redraw) {
  if (control == nullptr) return paramErr;
  const OSStatus status =
      SetControlData(control, kControlEntireControl, kControlStaticTextTextTag, text[0], text + 1);
  if (redraw && status == noErr) Draw1Control(control);
  return status;
}
