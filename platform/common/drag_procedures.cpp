// A procedure is its own universal procedure pointer on every platform.
#include "platform/drags.h"

DragTrackingHandlerUPP NewDragTrackingHandlerUPP(DragTrackingHandlerProc procedure) {
  return procedure;
}

DragReceiveHandlerUPP NewDragReceiveHandlerUPP(DragReceiveHandlerProc procedure) {
  return procedure;
}
