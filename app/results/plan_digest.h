/// A plan in one number, by which it is known again.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "app/results/result_rows.h"

/// Two plans have the same number when they would do the same to the same items, in 64 bits. A new
/// name is made up anew each time, so it counts as that of its item; and items that got one can
/// have their turns in another order when they are sorted into folders, so order does not count.
class CPlanDigest {
 public:
  /// All rows have to be of the same CResultRows.
  void Add(const CResultRows &rows, const ResultRow &row);

  /// A dropped folder is over: what was kept of its new names is given back.
  void EndFolder() { renamed_ = {}; }

  std::uint64_t Value() const { return sum_; }

 private:
  std::uint64_t ValueOf(const CResultRows &rows, ResultFolder folder);
  std::uint64_t ValueOf(const CResultRows &rows, const ResultPlace &place);

  std::uint64_t sum_ = 0;
  std::vector<std::uint64_t> folders_;                        ///< 0 for one that has not been met
  std::unordered_map<std::uint64_t, std::uint64_t> renamed_;  ///< what each new name counts as
};
