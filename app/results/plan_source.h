/// The plan that waits for its answer, as the source of the results window's rows.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/results/planned_run.h"
#include "app/results/result_source.h"
#include "engine/run_observers.h"

/// Keeps the plan that is shown, and beside it the one that is being made.
class CPlanSource final : public CResultSource, public CRunObserver {
 public:
  /// `order` is called when the user wants the plan to be carried out.
  explicit CPlanSource(std::function<void()> order) : order_(std::move(order)) {}

  /// The planned run that follows is a new plan, or `isAgain` the one shown made anew.
  void BeginPlan(bool isAgain);
  /// The new plan takes the place of the one shown; `news` is said of it.
  void ShowNew(const char *news);
  /// Whether the new plan would do what the one shown says.
  bool IsNewTheSame() const { return coming_->ComesToTheSameAs(*shown_); }
  bool IsNewStopped() const { return !coming_->WhatIsMissing().empty(); }
  void ForgetNew() { coming_.reset(); }

  /// Whether the plan shown is to be carried out: it has not been dismissed, and no other has taken
  /// its place.
  bool IsOrdered() const { return isOrdered_; }
  /// It is carried out: nothing is asked any more.
  void Forget();

  unsigned Version() const override { return version_; }
  bool IsOver() const override { return true; }
  std::vector<std::string> Folders() const override;
  std::vector<ResultFolderReport> Reports() const override;
  bool IsPreview() const override { return true; }
  std::string WhatIsMissing() const override;
  bool IsComplete() const override;
  void Rewind() override {}
  bool TakeIn(CResultRows * /*rows*/) override { return false; }
  std::shared_ptr<CResultRows> OwnRows() override;
  std::optional<PlanQuestion> Question() const override;
  void CarryOut() override;
  void LetGo(bool isDismissed) override;

  void BeginRun(std::int32_t items) noexcept override;
  void BeginFolder(const FSRef &folder) noexcept override;
  void BeginWork(const FSRef &folder) noexcept override;
  void Advance(std::int32_t done, std::int32_t count) noexcept override;
  void TakeNote(const RunNote &note) noexcept override;
  void EndFolder(const FolderReport &report) noexcept override;
  void EndRun() noexcept override;

 private:
  template <typename Work>
  void TakeDown(Work work) noexcept;

  std::function<void()> order_;
  std::unique_ptr<CPlannedRun> shown_;
  std::unique_ptr<CPlannedRun> coming_;
  std::string news_;
  unsigned version_ = 0;
  bool isMadeAgain_ = false;  ///< the one shown, by the planning that is on
  bool isOrdered_ = false;
};
