/// Where the rows of the results window come from.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/report_document.h"
#include "app/results/result_rows.h"
#include "platform/results_window.h"

/// What is known of one of the folders, beside its rows.
struct ResultFolderReport {
  ReportedFolder folder;
  std::string problem;      ///< why nothing could be done in it; mostly empty
  bool hasChanges = false;  ///< its rows tell of every change
};

class CResultSource {
 public:
  virtual ~CResultSource() = default;

  /// Which rows it gives: another number when all are others, as with each run.
  virtual unsigned Version() const = 0;
  /// Whether no more will come.
  virtual bool IsOver() const = 0;

  /// The paths of the folders that it is about.
  virtual std::vector<std::string> Folders() const = 0;
  /// What is known of these, in the order of the rows' sections.
  virtual std::vector<ResultFolderReport> Reports() const = 0;
  /// Whether nothing has been done, and the rows tell what would be.
  virtual bool IsPreview() const { return false; }
  /// What is missing in the rows that it has given, and why; empty when nothing is.
  virtual std::string WhatIsMissing() const = 0;

  /// False when rows are missing that should have been there.
  virtual bool IsComplete() const = 0;

  /// The next rows taken in are the first ones; what was kept for taking in is given back.
  virtual void Rewind() = 0;
  /// Adds a little to the rows, some thousands at most; false when nothing is left for now. Throws
  /// when there is no memory.
  virtual bool TakeIn(CResultRows *rows) = 0;

  /// The rows of a source that has them all itself: they are shown as they are, and nothing is
  /// taken in. Null for any other.
  virtual std::shared_ptr<CResultRows> OwnRows() { return nullptr; }

  /// What is asked; none where nothing is.
  virtual std::optional<PlanQuestion> Question() const { return std::nullopt; }
  /// The answer: what the rows say is to be done.
  virtual void CarryOut() {}
  /// It is not shown any more: dismissed by the user, or as another source takes its place.
  virtual void LetGo(bool /*isDismissed*/) {}
};
