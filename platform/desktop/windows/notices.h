/// What there is to tell the user besides the status of a run: a quiet line in the window, and
/// standard error. Texts are bytes, with names as they are on disk.
#pragma once

#include <string>

#include "platform/notices.h"

/// Tells what is so now and will pass. The window shows it instead, for a moment after it was told
/// last; standard error gets it once.
void TellForNow(const std::string &state);

/// Takes the problems off the window: the next drop comes, with problems of its own.
void ForgetProblems();
