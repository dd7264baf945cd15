/// Follows the items that are on their way: a move can take several steps, each a rename, or where
/// the file system has none that never replaces, a link and a removal, or a place-holder that is
/// replaced. The journal's writer and its reader both feed it what they write and read.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/tree/item_identity.h"

/// A name in one of the journal's folders.
struct JournalPlace {
  std::uint32_t folder = 0;
  std::string name;

  bool operator==(const JournalPlace &) const = default;
};

/// The same without a string of its own.
struct JournalPlaceView {
  std::uint32_t folder = 0;
  std::string_view name;

  bool operator==(const JournalPlaceView &) const = default;
  bool operator==(const JournalPlace &place) const {
    return folder == place.folder && name == place.name;
  }
  JournalPlace Copy() const { return {folder, std::string(name)}; }
};

/// An item whose move had begun and, for all that is known, had not ended.
struct HalfMove {
  ItemIdentity item;
  /// Where it can be: the first is where it came from. No place is there twice.
  std::vector<JournalPlace> places;
  /// Which of them it belongs to: its old one, or the new one when the last step had begun.
  std::size_t goal = 0;
};

/// An empty item that was to be replaced by a rename and is perhaps still there.
struct PlaceHolder {
  JournalPlace place;
  /// Where the rename was from, if it had been begun and has not failed: when nothing is there any
  /// more, what bears the place-holder's name is the item itself.
  std::optional<JournalPlace> from;
};

enum class MoveStep { kNone, kRename, kLink, kRemovalOfOld, kRemovalOfNew };

/// The item whose move is in hand.
struct ItemInHand {
  HalfMove move;
  JournalPlace destination;         ///< of the whole move
  std::size_t at = 0;               ///< which of its places
  std::optional<std::size_t> next;  ///< the one to which the step takes it, or where it is as well
  MoveStep step = MoveStep::kNone;  ///< under way
  bool isInTwoPlaces = false;       ///< neither name could be removed after a link

  const JournalPlace &Place() const { return move.places[at]; }
  bool IsWhole() const { return !next && !isInTwoPlaces && at == move.goal; }
  void EndStep();
};

class CHalfMoves {
 public:
  /// Begins a move in several steps; what was in hand before is left as it is. One of an item that
  /// was left on its way goes on with that.
  void Begin(const JournalPlaceView &from, const JournalPlaceView &destination,
             const ItemIdentity &item);

  /// Each of these is called for a change that is about to be made, and means that the one before
  /// has been made unless NoteFailure came between. A step that is none of the item's counts as a
  /// move by itself.
  void NoteRename(const JournalPlaceView &from, const JournalPlaceView &to);
  void NoteLink(const JournalPlaceView &from, const JournalPlaceView &to);
  void NoteRemoval(const JournalPlaceView &place);
  void NotePlaceHolder(const JournalPlaceView &place);
  void NoteReleaseOfPlaceHolder(const JournalPlaceView &place);
  void NoteOtherChange();

  /// The change noted last has failed.
  void NoteFailure();

  /// The move in hand has come to its end, wherever the item is now. Answers whether that is where
  /// it was to go.
  bool End();

  /// The same of an item that is whole now; in a journal that does not tell where moves end.
  void EndIfWhole();

  /// The process has died: the change noted last may have been made or not.
  void NoteInterruption();

  /// Nothing is known of the changes from here on.
  void ForgetItemInHand();

  /// The item in hand, after the change noted last has been made; null without one.
  ItemInHand *InHand();

  /// All that have been left on their way. When the run has ended in order, the change noted last
  /// is known to have been made.
  std::vector<HalfMove> List(bool isRunOver) const;
  /// Likewise all place-holders that are perhaps still there.
  std::vector<PlaceHolder> ListPlaceHolders(bool isRunOver) const;

 private:
  enum class HoldStep { kNone, kHold, kRename, kRelease };

  void EndStep();
  void EndHold();
  void KeepPlaceHolder(PlaceHolder held);
  void NoteStep(MoveStep step, const JournalPlaceView &from, const JournalPlaceView &to);
  void LetGo();
  void FollowLeft(const JournalPlaceView &from, const JournalPlaceView &to);

  std::optional<ItemInHand> inHand_;
  std::vector<HalfMove> left_;
  std::optional<PlaceHolder> held_;
  HoldStep holdStep_ = HoldStep::kNone;  ///< under way
  std::vector<PlaceHolder> heldLeft_;
};
