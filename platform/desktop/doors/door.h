/// The window's door: what comes from outside as a path or as an address.
#pragma once

#include <string>

#include "platform/linux/files/admission.h"

/// An address of a drag or of the session bus.
Admission AdmitUri(const std::string &uri);

/// An operand of the command line: a path, or the address of what is no path here.
Admission AdmitOperand(const std::string &operand);
