#include "platform/desktop/commands.h"

#include "platform/desktop/ending_question.h"

void GiveCommand(EventTargetRef target, OSType commandID) {
  if (!HasToAskBefore(target, commandID)) (void)SendCommand(target, commandID);
}
