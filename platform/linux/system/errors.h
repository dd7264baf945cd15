/// The one translation of the kernel's errors into result codes.
#pragma once

#include "platform/types.h"

/// The result code for an `errno` value; noErr for 0.
OSErr ErrorFromErrno(int error);
