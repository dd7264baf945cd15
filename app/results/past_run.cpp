#include "app/results/past_run.h"

#include <utility>

#include "app/report_words.h"

void CPastRun::Set(const PastRun &run) {
  run_ = run;
  ++version_;
  Rewind();
}

std::vector<ResultFolderReport> CPastRun::Reports() const {
  return {{.folder = {.path = run_.folder,
                      .time = run_.time,
                      .ended = EndOf(run_),
                      .seconds = {},
                      .counts = {},
                      .isKnown = IsToldByJournal},
           .problem = {},
           .hasChanges = true}};
}

std::string CPastRun::WhatIsMissing() const {
  if (!isThere_) return "The journal of this run is no longer there.";
  if (hasGap_) return "The journal breaks off: what came after that is not listed.";
  return "The history keeps what was changed, not what was left as it was.";
}

void CPastRun::Rewind() {
  changes_.reset();
  isBegun_ = false;
  isThere_ = true;
  hasGap_ = false;
}

bool CPastRun::TakeIn(CResultRows *rows) {
  if (!std::exchange(isBegun_, true)) {
    auto changes = OpenRunChanges(run_.id);
    isThere_ = changes != nullptr;
    rows->BeginSection();
    if (isThere_) changes_ = std::make_unique<CChangesToRows>(std::move(changes), rows);
  }
  if (changes_ == nullptr) return false;
  if (changes_->ReadOn() == RunReading::kGoesOn) return true;
  hasGap_ = changes_->HasGap();
  changes_.reset();
  return false;
}
