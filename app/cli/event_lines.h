/// What both the reports of runs and of plans say of an event.
#pragma once

#include <string>
#include <string_view>

#include "engine/run_events.h"

/// The words of an event (kEventWords) with what its note says in their places. `path` is the
/// item's.
std::string Expanded(std::string_view words, const RunNote &note, const std::string &path);
