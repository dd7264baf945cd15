/// A run of the history, as the source of the results window's rows: what its journal tells.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "app/results/change_rows.h"
#include "app/results/result_source.h"
#include "platform/history.h"

class CPastRun final : public CResultSource {
 public:
  void Set(const PastRun &run);

  unsigned Version() const override { return version_; }
  bool IsOver() const override { return true; }
  std::vector<std::string> Folders() const override { return {run_.folder}; }
  std::vector<ResultFolderReport> Reports() const override;
  std::string WhatIsMissing() const override;
  bool IsComplete() const override { return isThere_ && !hasGap_; }
  void Rewind() override;
  bool TakeIn(CResultRows *rows) override;

 private:
  PastRun run_;
  unsigned version_ = 0;
  bool isBegun_ = false;
  bool isThere_ = true;
  bool hasGap_ = false;
  std::unique_ptr<CChangesToRows> changes_;
};
