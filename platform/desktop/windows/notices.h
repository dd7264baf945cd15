/// What there is to tell the user besides the status of a run: a quiet line in the window, and
/// standard error. Texts are bytes, with names as they are on disk.
#pragma once

#include <string>

/// Tells a problem. The window shows the newest one, and how many came with it, until the next
/// drop; one told before there is a window is shown as soon as there is.
void TellProblem(const std::string &problem);

/// Tells what is so now and will pass. The window shows it instead, for a moment after it was told
/// last; standard error gets it once.
void TellForNow(const std::string &state);

/// Takes the problems off the window: the next drop comes, with problems of its own.
void ForgetProblems();
