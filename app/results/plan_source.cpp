#include "app/results/plan_source.h"

#include "app/display/quit_timer.h"
#include "engine/flatten_run.h"

/// Lets the planning go on whatever happens here, as when memory is short.
template <typename Work>
void CPlanSource::TakeDown(Work work) noexcept {
  if (!IsPlanning() || coming_ == nullptr) return;
  try {
    work();
  } catch (...) {
    coming_->NoteGap();
  }
}

void CPlanSource::BeginRun(std::int32_t items) noexcept {
  TakeDown([&] { coming_->BeginRun(items); });
}

void CPlanSource::BeginFolder(const FSRef &folder) noexcept {
  TakeDown([&] { coming_->BeginFolder(folder); });
}

void CPlanSource::BeginWork(const FSRef & /*folder*/) noexcept {
  TakeDown([this] { coming_->BeginWork(); });
}

void CPlanSource::Advance(std::int32_t /*done*/, std::int32_t /*count*/) noexcept {
  TakeDown([this] { coming_->TakeChanges(); });
}

void CPlanSource::TakeNote(const RunNote &note) noexcept {
  TakeDown([&] { coming_->TakeNote(note); });
}

void CPlanSource::EndFolder(const FolderReport &report) noexcept {
  TakeDown([&] { coming_->EndFolder(report); });
}

void CPlanSource::EndRun() noexcept {
  TakeDown([this] { coming_->EndRun(); });
}

void CPlanSource::BeginPlan(bool isAgain) {
  coming_ = std::make_unique<CPlannedRun>();
  isMadeAgain_ = isAgain;
}

void CPlanSource::ShowNew(const char *news) {
  shown_ = std::move(coming_);
  news_ = news;
  isOrdered_ = false;
  ++version_;
  HoldQuitBack(true);
}

void CPlanSource::Forget() {
  shown_.reset();
  coming_.reset();
  isOrdered_ = false;
  HoldQuitBack(false);
}

std::vector<std::string> CPlanSource::Folders() const {
  return shown_ != nullptr ? shown_->Folders() : std::vector<std::string>();
}

std::vector<ResultFolderReport> CPlanSource::Reports() const {
  return shown_ != nullptr ? shown_->Reports() : std::vector<ResultFolderReport>();
}

bool CPlanSource::IsComplete() const {
  return shown_ != nullptr && !shown_->HasGap();
}

std::string CPlanSource::WhatIsMissing() const {
  return shown_ != nullptr ? shown_->WhatIsMissing() : std::string();
}

std::shared_ptr<CResultRows> CPlanSource::OwnRows() {
  return shown_ != nullptr ? shown_->Rows() : nullptr;
}

std::optional<PlanQuestion> CPlanSource::Question() const {
  if (shown_ == nullptr) return std::nullopt;
  PlanQuestion question{.summary = shown_->Summary(),
                        .notice = news_,
                        .isGrave = !shown_->Warning().empty(),
                        .canBeCarriedOut = shown_->CanBeCarriedOut() && !isOrdered_};
  if (question.isGrave && !news_.empty()) question.notice += ' ';
  question.notice += shown_->Warning();
  return question;
}

void CPlanSource::CarryOut() {
  if (shown_ == nullptr || isOrdered_) return;
  isOrdered_ = true;
  order_();
}

void CPlanSource::LetGo(bool isDismissed) {
  // What was ordered is done, even if something else is looked at meanwhile.
  if (isOrdered_ && !isDismissed) return;
  if (isOrdered_ && isMadeAgain_ && IsPlanning()) FlattenRun.StopRequested = true;
  shown_.reset();
  isOrdered_ = false;
  HoldQuitBack(false);
}
