/// Which rows of the results their user wants to see, and in which order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/results/result_rows.h"
#include "platform/results_window.h"

class CResultSelection {
 public:
  /// `rows` may only grow as long as this is used.
  explicit CResultSelection(const CResultRows &rows) : rows_(rows) {}

  std::size_t Count() const { return shown_.size(); }
  /// The row that stands at a place.
  std::size_t RowAt(std::size_t place) const { return shown_[place]; }

  /// See CResultList.
  void Select(std::optional<RunEvent> event, const std::string &search);
  void SortBy(std::optional<ResultColumn> column, bool isDescending);

  /// Takes in the rows added since the last call.
  ResultNews TakeNewRows();

 private:
  bool IsWanted(std::size_t row);
  void Sort();

  const CResultRows &rows_;
  std::vector<std::uint32_t> shown_;
  std::size_t taken_ = 0;  ///< how many rows have been looked at
  std::optional<RunEvent> event_;
  std::string search_;  ///< with its case folded
  std::optional<ResultColumn> column_;
  bool isDescending_ = false;
  // Kept, as they are needed once a row.
  std::string text_;
  std::string folded_;
};
