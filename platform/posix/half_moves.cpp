#include "platform/posix/half_moves.h"

#include <algorithm>

namespace {

/// More are not kept: each is an undo that has failed too.
constexpr std::size_t kMostLeft = 1000;
/// A move and its undoing, by links, touch fewer.
constexpr std::size_t kMostPlaces = 8;

void AddPlace(const JournalPlaceView &place, std::vector<JournalPlace> *places) {
  const bool isKnown =
      std::ranges::any_of(*places, [&place](const JournalPlace &known) { return place == known; });
  if (!isKnown && places->size() < kMostPlaces) places->push_back(place.Copy());
}

}  // namespace

void ItemInHand::EndStep() {
  if (step == MoveStep::kRename || step == MoveStep::kRemovalOfOld) at = *next;
  // After a link the item is in both places, until one of them is removed.
  if (step != MoveStep::kLink && step != MoveStep::kNone) next.reset();
  step = MoveStep::kNone;
}

void CHalfMoves::EndStep() {
  if (!inHand_) return;
  inHand_->EndStep();
  if (inHand_->IsOver()) inHand_.reset();
}

void CHalfMoves::LetGo() {
  if (inHand_ && left_.size() < kMostLeft) left_.push_back(std::move(inHand_->move));
  inHand_.reset();
}

bool CHalfMoves::BeginsSteps(const JournalPlaceView &from, std::uint32_t toFolder, bool isLink) {
  EndStep();
  if (!isLink && from.folder != toFolder) return false;
  return !inHand_ || from != inHand_->at;
}

void CHalfMoves::NoteStep(MoveStep step, const JournalPlaceView &from, const JournalPlaceView &to,
                          const std::optional<ItemIdentity> &item) {
  EndStep();
  const bool isContinued = inHand_ && from == inHand_->at;
  if (!isContinued) {
    LetGo();
    if (!item) return;  // A move in one step needs no care.
    inHand_ = ItemInHand();
    inHand_->move = {*item, {from.Copy()}, from.Copy()};
    inHand_->at = from.Copy();
  }
  HalfMove &move = inHand_->move;
  const JournalPlace &origin = move.places.front();
  // The last step is the one that names it in its new folder; a link may be first and last in one.
  const bool isLast = from.folder == to.folder ? from.folder != origin.folder : !isContinued;
  move.goal = isLast ? to.Copy() : origin;
  AddPlace(to, &move.places);
  inHand_->next = to.Copy();
  inHand_->step = step;
}

/// One of an item's two names may go on a way of its own, as when it is collated.
void CHalfMoves::FollowLeft(const JournalPlaceView &from, const JournalPlaceView &to) {
  for (HalfMove &move : left_) {
    const bool isOneOf = std::ranges::any_of(
        move.places, [&from](const JournalPlace &place) { return from == place; });
    if (isOneOf) AddPlace(to, &move.places);
  }
}

void CHalfMoves::NoteRename(const JournalPlaceView &from, const JournalPlaceView &to,
                            const std::optional<ItemIdentity> &item) {
  FollowLeft(from, to);
  if (!inHand_ && !item) return;
  NoteStep(MoveStep::kRename, from, to, item);
}

void CHalfMoves::NoteLink(const JournalPlaceView &from, const JournalPlaceView &to,
                          const std::optional<ItemIdentity> &item) {
  FollowLeft(from, to);
  NoteStep(MoveStep::kLink, from, to, item);
}

void CHalfMoves::NoteRemoval(const JournalPlaceView &place) {
  EndStep();
  if (!inHand_) return;
  if (inHand_->next && place == inHand_->at) {
    inHand_->step = MoveStep::kRemovalOfOld;
  } else if (inHand_->next && place == *inHand_->next) {
    inHand_->step = MoveStep::kRemovalOfNew;
  } else {
    LetGo();
  }
}

void CHalfMoves::NoteOtherChange() {
  EndStep();
  LetGo();
}

void CHalfMoves::NoteFailure() {
  if (!inHand_) return;
  if (inHand_->step == MoveStep::kRename || inHand_->step == MoveStep::kLink) inHand_->next.reset();
  if (inHand_->step == MoveStep::kRemovalOfNew) inHand_->isInTwoPlaces = true;
  // What has failed is undone.
  inHand_->move.goal = inHand_->move.places.front();
  inHand_->step = MoveStep::kNone;
}

void CHalfMoves::ForgetItemInHand() {
  inHand_.reset();
}

std::vector<HalfMove> CHalfMoves::List(bool isRunOver) const {
  std::vector<HalfMove> moves = left_;
  if (!inHand_) return moves;
  ItemInHand item = *inHand_;
  if (isRunOver) item.EndStep();
  if (item.step != MoveStep::kNone || !item.IsOver()) moves.push_back(std::move(item.move));
  return moves;
}
