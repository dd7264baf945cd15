/// The rows that a run's journal makes.
#pragma once

#include <memory>
#include <vector>

#include "app/results/result_rows.h"
#include "platform/run_changes.h"

/// Whether a journal tells of all that have happened: of every change that is made to the tree.
bool IsToldByJournal(RunEvent event);

/// Puts the changes of one dropped folder into rows, which have to stay.
class CChangesToRows final : public CRunChangeTaker {
 public:
  CChangesToRows(std::unique_ptr<CRunChanges> changes, CResultRows *rows)
      : changes_(std::move(changes)), rows_(*rows) {}

  RunReading ReadOn() { return changes_->ReadOn(this); }
  bool HasGap() const { return changes_->HasGap(); }

  void TakeFolder(std::uint32_t number, std::uint32_t parent, std::string_view name) override;
  void TakeChange(const RunChange &change) override;

 private:
  ResultPlace PlaceOf(const RunPlace &place) const { return {folders_[place.folder], place.name}; }

  std::unique_ptr<CRunChanges> changes_;
  CResultRows &rows_;
  std::vector<ResultFolder> folders_;  ///< by the journal's number
};
