/// Numbers in a sentence: "60,000 moved, 1 alias made".
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

#include "engine/run_events.h"

struct CountInWords {
  std::int64_t count;
  const char *one;  ///< behind a 1
  const char *several;
};

enum class Digits : std::uint8_t {
  kPlain,
  kInGroups,  ///< of three
};

/// What is 0 is not named; nothing when all are.
std::string ListCounts(std::initializer_list<CountInWords> counts,
                       Digits digits = Digits::kInGroups);

/// What a planned run would do and leave.
std::string ListPlannedCounts(const RunCounts &counts, Digits digits = Digits::kInGroups);
