/// The window that shows the history of runs.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// A run, in words. Texts are bytes, with names as they are on disk.
struct HistoryRow {
  std::string id;  ///< the same for the same run
  std::string when;
  std::string folder;  ///< its path
  std::string done;
  std::string state;
  bool canBeUndone;  ///< now
};

/// The history, as the program has it.
class CHistory {
 public:
  /// Read anew, the newest first.
  virtual std::vector<HistoryRow> Rows() = 0;
  /// Both for a row of those given last.
  virtual void Undo(std::size_t row) = 0;
  virtual void Show(std::size_t row) = 0;

 protected:
  ~CHistory() = default;
};

/// Shows the window, or brings it to the front. There is one; the history has to stay as long as
/// the process.
void ShowHistoryWindow(CHistory *history);

/// Has the window ask for the rows again, if it is open.
void UpdateHistoryWindow();
