/// What is noted of the latest run while it is on: its folders, which journal tells of each, and
/// what no journal tells. A file that is simply moved costs nothing here.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/results/result_rows.h"
#include "engine/run_observers.h"

class CRunLog final : public CRunObserver {
 public:
  struct Folder {
    std::string path;
    std::string journal;  ///< empty while it is not known, or none is kept
    std::size_t firstNote;
    bool hasBegun = false;  ///< and the journal is known if there is one
    bool isOver = false;
    FolderReport report = {};  ///< when it is over
  };

  /// `runBegins` is called whenever a run begins.
  explicit CRunLog(std::function<void()> runBegins) : runBegins_(std::move(runBegins)) {}

  /// Which run it is: another number with each, 0 before the first.
  unsigned Run() const { return run_; }
  bool IsRunOver() const { return isRunOver_; }
  const std::vector<Folder> &Folders() const { return folders_; }
  const CResultRows &Notes() const { return *notes_; }
  /// Where the notes of a folder end, so far.
  std::size_t EndOfNotes(std::size_t folder) const;
  /// False when there was no memory for all of it.
  bool IsComplete() const { return isComplete_; }

  void BeginFolder(const FSRef &folder) noexcept override;
  void BeginPhase(RunPhase phase, const char *folderName) noexcept override;
  void TakeNote(const RunNote &note) noexcept override;
  void EndFolder(const FolderReport &report) noexcept override;
  void EndRun() noexcept override { isRunOver_ = true; }

 private:
  template <typename Work>
  void TakeDown(Work work) noexcept;

  std::function<void()> runBegins_;
  unsigned run_ = 0;
  bool isRunOver_ = true;
  bool isComplete_ = true;
  std::vector<Folder> folders_;
  std::unique_ptr<CResultRows> notes_ = std::make_unique<CResultRows>();
  ResultFolder dropped_ = kNoResultFolder;  ///< the one in hand
  bool isWorkInHand_ = false;
};
