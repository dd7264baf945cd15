/// What both programs do first of all, so that a write that fails is told of as an error and goes
/// nowhere else.
#pragma once

/// Standard streams that are closed are opened, such that using one fails: the next file to be
/// opened would get its number, and texts would be written to that. SIGPIPE and SIGXFSZ do not end
/// the process any more: writing fails with EPIPE or EFBIG instead.
void PrepareStandardStreams();
