#include "app/results/planned_run.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "app/listed_counts.h"
#include "app/report_words.h"
#include "app/results/note_rows.h"
#include "engine/flatten_run.h"
#include "fsutil/item_info.h"

namespace {

std::string_view NameIn(std::string_view path) {
  return path.size() > 1 ? path.substr(path.rfind('/') + 1) : path;
}

std::string_view FolderOf(std::string_view path) {
  return path.substr(0, std::max(path.rfind('/'), std::size_t{1}));
}

/// From the name of the dropped folder on, in which it lies or which lies in it.
std::string_view ShortPath(std::string_view path, std::string_view dropped) {
  if (!path.starts_with(dropped)) return NameIn(path);
  return path.substr(dropped.size() - NameIn(dropped).size());
}

const char *SystemOf(std::string_view name) {
  if (name == ".hg") return "Mercurial";
  return name == ".svn" ? "Subversion" : "Git";
}

std::string Joined(const std::vector<std::string> &sentences) {
  std::string text;
  for (const std::string &sentence : sentences) {
    if (!text.empty()) text += ' ';
    text += sentence;
  }
  return text;
}

}  // namespace

void CPlannedRun::BeginFolder(const FSRef &folder) {
  --unseen_;
  folder_ = GetItemPath(folder);
  rows_->BeginSection();
  ResultFolderReport &report = reports_.emplace_back();
  report.folder.path = folder_;
  report.hasChanges = true;
}

void CPlannedRun::BeginWork() {
  dropped_ = rows_->DroppedFolder(folder_);
  folders_.push_back(folder_);
}

void CPlannedRun::TakeChanges() {
  for (; changes_ < PlannedChangeCount(); ++changes_) {
    PlannedChangeAt(changes_, &change_);
    AddChange();
  }
}

void CPlannedRun::AddChange() {
  ResultRow row{RunEvent::kMoved, rows_->PlaceOf(change_.path, dropped_)};
  switch (change_.kind) {
    case PlannedKind::kMoved:
      row.to = rows_->PlaceOf(change_.newPath, dropped_);
      if (row.to.folder != dropped_) {
        row.event = RunEvent::kCollated;
      } else if (row.to.name != row.item.name) {
        row.event = RunEvent::kRenamed;
      }
      break;
    case PlannedKind::kAliased:
      // The file is what something would happen to.
      row.event = RunEvent::kAliased;
      row.to = std::exchange(row.item, rows_->PlaceOf(change_.newPath, dropped_));
      break;
    case PlannedKind::kFileDeleted:
      row.event = RunEvent::kFileDeleted;
      break;
    case PlannedKind::kFolderDeleted:
      row.event = RunEvent::kFolderDeleted;
      break;
    case PlannedKind::kTrashed:
      row.event = RunEvent::kTrashed;
      break;
    case PlannedKind::kMade:
      row.event = RunEvent::kFolderMade;
      break;
  }
  rows_->Add(row);
  digest_.Add(*rows_, row);
}

void CPlannedRun::TakeNote(const RunNote &note) {
  TakeChanges();
  if (kEventWords[static_cast<std::size_t>(note.event)].planned == nullptr) return;
  AddRowOfNote(note, dropped_, rows_.get());
  digest_.Add(*rows_, (*rows_)[rows_->Count() - 1]);
}

void CPlannedRun::EndFolder(const FolderReport &report) {
  if (report.outcome == RunOutcome::kNotAFolder) {
    gone_.emplace_back(NameIn(folder_));
    reports_.back().problem = WhyLeftAlone(report.outcome);
    return;
  }
  reports_.back().folder.seconds = report.seconds;
  reports_.back().folder.counts = report.counts;
  isStopped_ = isStopped_ || report.outcome == RunOutcome::kStopped;
  for (std::size_t i = 0; i < kRunEventCount; ++i) counts_[i] += report.counts[i];
  TakeChanges();
  digest_.EndFolder();
  AddReason();
}

/// An item that is gone when its turn comes has not even a name.
void CPlannedRun::EndRun() {
  isStopped_ = isStopped_ || (unseen_ > 0 && FlattenRun.StopAllRequested);
  if (!isStopped_) gone_.resize(gone_.size() + static_cast<std::size_t>(unseen_), "A folder");
}

void CPlannedRun::AddReason() {
  const WhyAsk &why = FlattenRun.whyAsk;
  std::string reason;
  if (why.isHomeBelow) {
    reason.append("Your home folder lies in ").append(NameIn(folder_));
    reason += ": flattening it would take it apart.";
  } else if (why.checkouts > 0) {
    reason.append(ShortPath(FolderOf(why.first), folder_)).append(" is a ");
    reason.append(SystemOf(NameIn(why.first))).append(" checkout");
    if (why.checkouts > 1) {
      const std::string others = ListCounts({{why.checkouts - 1, " more is", " more are"}});
      reason.append(", and ").append(others).append(" in ").append(NameIn(folder_));
    }
    reason += why.checkouts > 1 ? ": flattening would take them apart."
                                : ": flattening it would take it apart.";
  }
  if (!reason.empty()) reasons_.push_back(std::move(reason));
}

bool CPlannedRun::ComesToTheSameAs(const CPlannedRun &other) const {
  return IsWhole() && other.IsWhole() && folders_ == other.folders_ &&
         rows_->Count() == other.rows_->Count() && digest_.Value() == other.digest_.Value();
}

std::string CPlannedRun::Summary() const {
  const std::string counts = ListPlannedCounts(counts_);
  return counts.empty() ? "Nothing would be done." : counts + ".";
}

std::string CPlannedRun::Warning() const {
  std::vector<std::string> sentences;
  for (const std::string &name : gone_) sentences.push_back(name + " is no longer there.");
  sentences.insert(sentences.end(), reasons_.begin(), reasons_.end());
  return Joined(sentences);
}

std::string CPlannedRun::WhatIsMissing() const {
  if (hasGap_) return "There is not enough memory for all of the plan: it can't be carried out.";
  return isStopped_ ? "The preview was stopped: it can't be carried out." : "";
}
