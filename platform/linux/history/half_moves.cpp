#include "platform/linux/history/half_moves.h"

#include <algorithm>
#include <utility>

namespace {

/// More are not kept: each is an undo that has failed too.
constexpr std::size_t kMostLeft = 1000;
/// A move and its undoing, by links, touch fewer.
constexpr std::size_t kMostPlaces = 8;

/// The index of a place, which is added when it is new.
std::size_t IndexOf(const JournalPlaceView &place, std::vector<JournalPlace> *places) {
  std::size_t index = 0;
  while (index < places->size() && place != (*places)[index]) ++index;
  if (index == places->size()) places->push_back(place.Copy());
  return index;
}

}  // namespace

void ItemInHand::EndStep() {
  if (step == MoveStep::kRename || step == MoveStep::kRemovalOfOld) at = *next;
  // After a link the item is in both places, until one of them is removed.
  if (step != MoveStep::kLink && step != MoveStep::kNone) next.reset();
  step = MoveStep::kNone;
}

void CHalfMoves::EndStep() {
  if (inHand_) inHand_->EndStep();
}

ItemInHand *CHalfMoves::InHand() {
  EndStep();
  return inHand_ ? &*inHand_ : nullptr;
}

/// An item that is whole needs no care any more.
void CHalfMoves::LetGo() {
  EndStep();
  if (inHand_ && !inHand_->IsWhole() && left_.size() < kMostLeft) {
    left_.push_back(std::move(inHand_->move));
  }
  inHand_.reset();
}

void CHalfMoves::Begin(const JournalPlaceView &from, const JournalPlaceView &destination,
                       const ItemIdentity &item) {
  LetGo();
  const auto isLeftThere = [&](const HalfMove &move) {
    return move.item.inode == item.inode &&
           std::ranges::any_of(move.places,
                               [&](const JournalPlace &place) { return from == place; });
  };
  if (std::ranges::any_of(left_, isLeftThere)) return;
  inHand_ = ItemInHand();
  inHand_->move.item = item;
  inHand_->move.places.reserve(4);
  inHand_->move.places.push_back(from.Copy());
  inHand_->destination = destination.Copy();
}

void CHalfMoves::EndIfWhole() {
  EndStep();
  if (inHand_ && inHand_->IsWhole()) inHand_.reset();
}

bool CHalfMoves::End() {
  EndHold();
  EndStep();
  const bool isThere = inHand_ && inHand_->IsWhole() && inHand_->Place() == inHand_->destination;
  LetGo();
  return isThere;
}

void CHalfMoves::NoteStep(MoveStep step, const JournalPlaceView &from, const JournalPlaceView &to) {
  EndStep();
  const bool isOfItemInHand = inHand_ && from == inHand_->Place();
  if (!isOfItemInHand) LetGo();
  FollowLeft(from, to);
  if (!isOfItemInHand) return;
  HalfMove &move = inHand_->move;
  if (move.places.size() == kMostPlaces) return LetGo();
  inHand_->next = IndexOf(to, &move.places);
  // Once the last step has begun it belongs there; until then it can still be taken back.
  move.goal = to == inHand_->destination ? *inHand_->next : 0;
  inHand_->step = step;
}

/// One of an item's two names may go on a way of its own, as when it is collated; so may a
/// place-holder.
void CHalfMoves::FollowLeft(const JournalPlaceView &from, const JournalPlaceView &to) {
  for (std::size_t i = 0; i < heldLeft_.size(); ++i) {
    if (from != heldLeft_[i].place) continue;
    KeepPlaceHolder({to.Copy(), heldLeft_[i].from});
    break;
  }
  for (HalfMove &move : left_) {
    const bool isOneOf = std::ranges::any_of(
        move.places, [&from](const JournalPlace &place) { return from == place; });
    if (isOneOf && move.places.size() < kMostPlaces) (void)IndexOf(to, &move.places);
  }
}

void CHalfMoves::NoteRename(const JournalPlaceView &from, const JournalPlaceView &to) {
  if (held_ && holdStep_ == HoldStep::kHold && to == held_->place) {
    held_->from = from.Copy();
    holdStep_ = HoldStep::kRename;
  } else {
    EndHold();
  }
  NoteStep(MoveStep::kRename, from, to);
}

void CHalfMoves::NoteLink(const JournalPlaceView &from, const JournalPlaceView &to) {
  EndHold();
  NoteStep(MoveStep::kLink, from, to);
}

void CHalfMoves::NoteRemoval(const JournalPlaceView &place) {
  EndHold();
  EndStep();
  if (!inHand_) return;
  HalfMove &move = inHand_->move;
  if (inHand_->next && place == inHand_->Place()) {
    inHand_->step = MoveStep::kRemovalOfOld;
    // One that has failed, as when a signal has interrupted it, can be asked for again.
    if (move.places[*inHand_->next] == inHand_->destination) move.goal = *inHand_->next;
  } else if (inHand_->next && place == inHand_->move.places[*inHand_->next]) {
    inHand_->step = MoveStep::kRemovalOfNew;
  } else {
    LetGo();
  }
}

void CHalfMoves::KeepPlaceHolder(PlaceHolder held) {
  std::erase_if(heldLeft_, [&](const PlaceHolder &left) { return left.place == held.place; });
  if (heldLeft_.size() < kMostLeft) heldLeft_.push_back(std::move(held));
}

/// Something else is done now. Unless it was replaced or released the place-holder is still there.
void CHalfMoves::EndHold() {
  const bool isGone = holdStep_ == HoldStep::kRename || holdStep_ == HoldStep::kRelease;
  if (held_ && !isGone) KeepPlaceHolder(*std::move(held_));
  held_.reset();
  holdStep_ = HoldStep::kNone;
}

/// It belongs to the rename that comes next and is of no concern to the item.
void CHalfMoves::NotePlaceHolder(const JournalPlaceView &place) {
  EndStep();
  EndHold();
  held_ = {place.Copy(), std::nullopt};
  holdStep_ = HoldStep::kHold;
}

void CHalfMoves::NoteReleaseOfPlaceHolder(const JournalPlaceView &place) {
  EndStep();
  if (!held_ || place != held_->place) {
    EndHold();
    const auto left = std::ranges::find_if(
        heldLeft_, [&](const PlaceHolder &holder) { return place == holder.place; });
    if (left == heldLeft_.end()) return;
    held_ = std::move(*left);
    heldLeft_.erase(left);
  }
  holdStep_ = HoldStep::kRelease;
}

void CHalfMoves::NoteOtherChange() {
  EndHold();
  LetGo();
}

void CHalfMoves::NoteFailure() {
  if (holdStep_ == HoldStep::kHold) held_.reset();
  // Whatever becomes of the item, it is not what bears the place-holder's name.
  if (holdStep_ == HoldStep::kRename) held_->from.reset();
  holdStep_ = HoldStep::kNone;
  if (!inHand_) return;
  if (inHand_->step == MoveStep::kRename || inHand_->step == MoveStep::kLink) inHand_->next.reset();
  if (inHand_->step == MoveStep::kRemovalOfNew) inHand_->isInTwoPlaces = true;
  // What has failed is undone.
  inHand_->move.goal = 0;
  inHand_->step = MoveStep::kNone;
}

void CHalfMoves::NoteInterruption() {
  left_ = List(false);
  heldLeft_ = ListPlaceHolders(false);
  inHand_.reset();
  held_.reset();
  holdStep_ = HoldStep::kNone;
}

void CHalfMoves::ForgetItemInHand() {
  inHand_.reset();
}

std::vector<HalfMove> CHalfMoves::List(bool isRunOver) const {
  std::vector<HalfMove> moves = left_;
  if (!inHand_) return moves;
  ItemInHand item = *inHand_;
  if (isRunOver) item.EndStep();
  if (item.step != MoveStep::kNone || !item.IsWhole()) moves.push_back(std::move(item.move));
  return moves;
}

std::vector<PlaceHolder> CHalfMoves::ListPlaceHolders(bool isRunOver) const {
  if (isRunOver) {
    CHalfMoves over = *this;
    over.EndHold();
    return over.heldLeft_;
  }
  std::vector<PlaceHolder> holders = heldLeft_;
  if (held_) holders.push_back(*held_);
  return holders;
}
