/// What a planned run would do: the rows, and what there is to say of all of them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "app/results/plan_digest.h"
#include "app/results/result_rows.h"
#include "app/results/result_source.h"
#include "platform/plan.h"

/// Is told of one planned run, as CRunObserver tells of it. Throws when there is no memory.
class CPlannedRun {
 public:
  void BeginRun(std::int32_t items) { unseen_ = items; }
  void BeginFolder(const FSRef &folder);
  void BeginWork();
  /// Takes in the changes planned since; their paths are known only while the run is on.
  void TakeChanges();
  void TakeNote(const RunNote &note);
  void EndFolder(const FolderReport &report);
  void EndRun();

  /// There was no memory for all of it.
  void NoteGap() { hasGap_ = true; }
  bool HasGap() const { return hasGap_; }

  const std::shared_ptr<CResultRows> &Rows() const { return rows_; }
  const std::vector<std::string> &Folders() const { return folders_; }
  const std::vector<ResultFolderReport> &Reports() const { return reports_; }

  /// Whether it tells all that would be done, and that is anything.
  bool CanBeCarriedOut() const { return IsWhole() && changes_ > 0; }
  bool ComesToTheSameAs(const CPlannedRun &other) const;

  // In UTF-8, but with names as they are on disk.
  std::string Summary() const;
  /// Why it should be thought of twice, or what can't be planned; empty for nothing.
  std::string Warning() const;
  /// Why it is not whole; empty when it is.
  std::string WhatIsMissing() const;

 private:
  bool IsWhole() const { return !isStopped_ && !hasGap_ && gone_.empty(); }
  void AddChange();
  void AddReason();

  std::shared_ptr<CResultRows> rows_ = std::make_shared<CResultRows>(Tense::kWouldHappen);
  CPlanDigest digest_;
  RunCounts counts_{};
  std::vector<std::string> folders_;
  std::vector<ResultFolderReport> reports_;
  std::vector<std::string> gone_;  ///< the names of those that are no folders any more
  std::vector<std::string> reasons_;
  std::size_t changes_ = 0;  ///< taken in
  std::int32_t unseen_ = 0;  ///< items whose turn has not come
  bool isStopped_ = false;
  bool hasGap_ = false;

  std::string folder_;  ///< the path of the one in hand
  ResultFolder dropped_ = kNoResultFolder;
  PlannedChange change_;  ///< in hand; it keeps its memory
};
