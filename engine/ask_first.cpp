#include "engine/ask_first.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "engine/flatten_run.h"
#include "fsutil/item_info.h"
#include "platform/home_folder.h"

namespace {

bool IsOfCheckout(std::string_view name) {
  constexpr std::array<std::string_view, 3> kNames{".git", ".hg", ".svn"};
  // Most names are told apart by their first byte.
  return name.starts_with('.') && std::ranges::find(kNames, name) != kNames.end();
}

}  // namespace

void NoteIfHomeIsBelow(const FSRef &folder) {
  FlattenRun.whyAsk = {};
  if (FlattenRun.askFirst == AskFirst::kNever) return;
  FlattenRun.whyAsk.isHomeBelow = IsHomeBelow(folder);
  // Dropped itself, it is as much a part of its checkout.
  NoteIfCheckout(folder);
}

void NoteIfCheckout(const FSRef &item) {
  if (!IsOfCheckout(FSGetNameBytes(item))) return;
  if (FlattenRun.whyAsk.checkouts++ == 0) FlattenRun.whyAsk.first = GetItemPath(item);
}
