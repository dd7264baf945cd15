#include "platform/desktop/windows/commands.h"

#include "platform/desktop/windows/ending_question.h"

void GiveCommand(EventTargetRef target, OSType commandID) {
  if (!HasToAskBefore(target, commandID)) (void)SendCommand(target, commandID);
}
