/// Where the user is at home.
#pragma once

#include "platform/file_manager.h"

/// Whether a home folder of the user, by $HOME or by the password database, lies somewhere below
/// `folder`.
bool IsHomeBelow(const FSRef &folder);
