#include "platform/run_changes.h"

#include <unistd.h>

#include <optional>
#include <utility>
#include <vector>

#include "platform/linux/history/journal_folder.h"
#include "platform/linux/history/journal_reader.h"

namespace {

/// Some thousand lines.
constexpr std::size_t kPiece = std::size_t{1} << 18;

RunPlace PlaceOf(const JournalPlace &place) {
  return {place.folder, place.name};
}

class CJournalChanges final : public CRunChanges {
 public:
  CJournalChanges(std::string name, CDescriptor file)
      : name_(std::move(name)), file_(std::move(file)), reader_(&journal_) {
    reader_.TellChanges([this](PastChangeKind kind, const JournalChange &change) {
      TellNewFolders();
      Tell(kind, change);
    });
  }

  /// While the run is on, zeros follow the last line. The file is read, not mapped: it is cut when
  /// the run ends.
  RunReading ReadOn(CRunChangeTaker *taker) override {
    taker_ = taker;
    piece_.resize(wanted_);
    const ssize_t count =
        pread(file_.Get(), piece_.data(), piece_.size(), static_cast<off_t>(journal_.size));
    if (count < 0) return Break();
    const std::string_view text(piece_.data(), static_cast<std::size_t>(count));
    const std::size_t before = journal_.size;
    if (!reader_.Read(text)) return Break();
    if (journal_.isEnded) return RunReading::kIsOver;
    const std::size_t used = journal_.size - before;
    const bool isWhole = text.size() < wanted_ || text.find('\0', used) != std::string_view::npos;
    if (isWhole) return ReachEnd();
    // A line that is longer than all of it.
    wanted_ = used == 0 ? 2 * wanted_ : kPiece;
    return RunReading::kGoesOn;
  }

  bool IsUndo() const override {
    return !journal_.takesBack.name.empty() && !journal_.takesBack.isRedo;
  }
  bool HasGap() const override { return journal_.hasGap || isBroken_; }

 private:
  RunReading ReachEnd() {
    // In this process nobody comes here in the middle of a change.
    if (RunJournalInHand() == name_) reader_.SettleLast();
    return RunReading::kIsUpToDate;
  }

  RunReading Break() {
    isBroken_ = true;
    return RunReading::kIsOver;
  }

  void TellNewFolders() {
    for (; foldersTold_ < journal_.folders.size(); ++foldersTold_) {
      const JournalFolder &folder = journal_.folders[foldersTold_];
      const std::string &name = foldersTold_ == 0 ? journal_.header.path : folder.name;
      taker_->TakeFolder(foldersTold_, folder.parent, name);
    }
  }

  void Tell(PastChangeKind kind, const JournalChange &change) {
    RunChange told{.kind = RunChangeKind::kMoved,
                   .item = PlaceOf(change.place),
                   .to = PlaceOf(change.to),
                   .path = change.target ? std::string_view(*change.target) : std::string_view()};
    std::string inTrash;
    const auto retargeted = std::exchange(retargeted_, std::nullopt);
    switch (kind) {
      case PastChangeKind::kMove:
      case PastChangeKind::kMoveInSteps:
      case PastChangeKind::kMoveMadeLink:
        told.kind = KindOfMove(change);
        break;
      case PastChangeKind::kMakeLink:
        if (retargeted == change.place) return;
        told.kind = RunChangeKind::kAliasMade;
        break;
      case PastChangeKind::kRemoveLink:
        told.kind = RunChangeKind::kAliasRemoved;
        break;
      case PastChangeKind::kDelete:
        told.kind = RunChangeKind::kFileDeleted;
        break;
      case PastChangeKind::kRemoveFolder:
        told.kind = RunChangeKind::kFolderDeleted;
        break;
      case PastChangeKind::kMakeFolder:
        told.kind = RunChangeKind::kFolderMade;
        break;
      case PastChangeKind::kTrash:
        told.kind = RunChangeKind::kTrashed;
        inTrash = *change.target + "/files/" + change.nameInTrash;
        told.path = inTrash;
        break;
      case PastChangeKind::kRestore:
        told.kind = RunChangeKind::kTakenOutOfTrash;
        break;
      case PastChangeKind::kNone:
        // A link that is to lead elsewhere is removed and made again, and stays the one it is.
        retargeted_ = change.place;
        return;
      case PastChangeKind::kAttribute:
        return;
    }
    taker_->TakeChange(told);
  }

  static RunChangeKind KindOfMove(const JournalChange &change) {
    switch (WayOf(change)) {
      case MoveWay::kUp:
        return RunChangeKind::kMovedUp;
      case MoveWay::kCollated:
        return RunChangeKind::kMovedDown;
      case MoveWay::kOther:
        break;
    }
    return RunChangeKind::kMoved;
  }

  std::string name_;
  CDescriptor file_;
  Journal journal_;
  CJournalReader reader_;
  CRunChangeTaker *taker_ = nullptr;
  std::string piece_;
  std::size_t wanted_ = kPiece;  ///< how much is read at once
  std::uint32_t foldersTold_ = 0;
  std::optional<JournalPlace> retargeted_;  ///< the link removed last
  bool isBroken_ = false;
};

}  // namespace

std::unique_ptr<CRunChanges> OpenRunChanges(const std::string &journal) {
  CJournalFolder journals;
  if (journals.Open(false) != 0) return nullptr;
  CDescriptor file = journals.OpenJournal(journal);
  if (!file.IsOpen()) return nullptr;
  return std::make_unique<CJournalChanges>(journal, std::move(file));
}
