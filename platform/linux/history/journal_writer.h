/// The layer of the tree that writes a journal: what passes it is written down before it is done.
#pragma once

#include <cerrno>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <unordered_map>

#include "platform/linux/history/half_moves.h"
#include "platform/linux/history/journal_file.h"
#include "platform/linux/history/journal_reader.h"
#include "platform/linux/history/journal_text.h"
#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/tree_layer.h"

class CJournalWriter final : public CTreeLayer {
 public:
  /// On top of the tree for the life of the object.
  CJournalWriter();
  ~CJournalWriter() override;

  /// Takes over the new journal's descriptor and writes its beginning. Returns 0 or an `errno`
  /// value.
  int Begin(int descriptor, const JournalHeader &header);

  /// Takes over the descriptor of an interrupted run's journal and goes on after its last complete
  /// line. On failure, with an `errno` value, nothing is written from then on.
  int Continue(int descriptor, const Journal &journal);

  /// What comes is no recovery any more but what the journal was begun for.
  void GoOn();

  /// Tells which number the journal has for a folder.
  void Know(FolderIndex folder, std::uint32_t number) { numbers_[folder] = number; }

  /// Tells that a folder made by this run, in which something was recorded, stands for one that had
  /// this inode number.
  void KnowAsSuccessor(FolderIndex folder, std::uint64_t inode, std::uint64_t birth);

  /// Tells that an item is about to be taken out of the trash; when that has failed it is to be
  /// told by RecordFailure.
  void RecordRestoring(FolderIndex folder, std::string_view name, const ItemIdentity &item);
  void RecordFailure(int error);

  /// Writes a line that is no change, if there is room for it.
  void Write(std::string_view word, std::initializer_list<std::string_view> texts);

  /// Whether any item, or place-holder, has not come to where it belongs.
  bool IsAnythingHalfDone() const;

  int Change(const TreeChange &change) override;
  void BeginMove(const TreeMove &move) override;
  void EndMove() override;

 private:
  /// The move in hand.
  struct Move {
    TreeMove meant;
    bool isInSteps;  ///< that have begun
    /// Of one into the trash, which is one line: whether that is written, and what came of it.
    bool isWritten = false;
    int trashError = ECANCELED;
  };

  /// Answers kIsOutside for a change that belongs to no run.
  template <typename Recording>
  int TryTo(Recording record);
  void BeginRecording();
  int Record(const TreeChange &change);
  int RecordStep(const TreeChange &change);
  int RecordMove(bool isInSteps);
  int ChangeForTrash(const TreeChange &change);
  int RecordTrashing();
  int RecordItem(std::string_view word, FolderIndex folder, std::string_view name,
                 const ItemIdentity &item, std::initializer_list<std::string_view> where);
  int RecordChange(const TreeChange &change);
  void RecordPermissions(const TreeChange &change, CJournalLine &line);
  int RecordAttributes(const TreeChange &change, std::uint32_t number);
  int RecordState(const TreeChange &change);
  ItemIdentity IdentityOfMoved(bool isBirthAsked) const;
  void Stop(int error);
  int NumberOf(FolderIndex index, std::uint32_t *number);
  int RecordFolder(FolderIndex index);
  void WriteWithinReserve(std::string_view word, std::initializer_list<std::string_view> texts);

  CJournalFile file_;
  FolderIdentity folder_;
  std::unordered_map<FolderIndex, std::uint32_t> numbers_;  ///< by place in the table of folders
  std::uint32_t folderCount_ = 1;
  CHalfMoves halfMoves_;
  std::optional<Move> move_;
  bool isRecording_ = true;
  bool isRecovering_ = false;  ///< and has changed nothing yet
};
