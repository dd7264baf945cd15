/// The latest run of this process, as the source of the results window's rows: what its journals
/// tell, and what was noted beside them.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/results/change_rows.h"
#include "app/results/result_source.h"
#include "app/results/run_log.h"

class CLatestRun final : public CResultSource {
 public:
  /// `runBegins` is called whenever a run begins.
  explicit CLatestRun(std::function<void()> runBegins) : log_(std::move(runBegins)) {}

  CRunLog &Log() { return log_; }

  unsigned Version() const override { return log_.Run(); }
  bool IsOver() const override { return log_.IsRunOver(); }
  std::vector<std::string> Folders() const override;
  std::vector<ResultFolderReport> Reports() const override;
  std::string WhatIsMissing() const override;
  bool IsComplete() const override;
  void Rewind() override { reading_ = {}; }
  bool TakeIn(CResultRows *rows) override;

 private:
  void BeginReading(const CRunLog::Folder &folder, CResultRows *rows);

  struct Reading {
    std::size_t folder = 0;      ///< of the log, which is being read
    std::size_t notesTaken = 0;  ///< of all of the log
    bool isBegun = false;        ///< the folder's journal has been opened if there is one
    std::unique_ptr<CChangesToRows> changes;
    std::size_t withoutJournal = 0;  ///< folders
    bool hasGap = false;
  };

  CRunLog log_;
  Reading reading_;
};
