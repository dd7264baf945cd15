/// The folders that the user names on the command line.
#pragma once

#include <string>

#include "platform/file_manager.h"

/// Finds the folder that an operand names and resolves links on the way, once and for all. On
/// failure `problem` says why it cannot be used: it is missing, is not a folder, or, unless
/// `isForced`, is the root folder or the user's home folder itself.
bool ResolveOperand(const std::string &operand, bool isForced, FSRef *folder, std::string *problem);
