#include "platform/linux/tree/tree_layer.h"

#include <sys/stat.h>

#include <algorithm>
#include <vector>

#include "platform/linux/tree/disk.h"

bool ItemStatus::IsFolder() const {
  return S_ISDIR(mode);
}

bool ItemStatus::IsFile() const {
  return S_ISREG(mode);
}

bool ItemStatus::IsLink() const {
  return S_ISLNK(mode);
}

bool ItemStatus::IsLocked() const {
  return isImmutable || ((mode & S_IWUSR) == 0 && !IsLink());
}

std::string_view TreeChange::Word() const {
  switch (kind) {
    case ChangeKind::kRename:
    case ChangeKind::kReplace:
      return "rename";
    case ChangeKind::kLink:
      return "link";
    case ChangeKind::kHoldFile:
    case ChangeKind::kHoldFolder:
      return "hold";
    case ChangeKind::kRelease:
      return "release";
    case ChangeKind::kMakeFolder:
    case ChangeKind::kMakePrivateFolder:
      return "mkdir";
    case ChangeKind::kRemoveFolder:
      return "rmdir";
    case ChangeKind::kRemoveFile:
      return "unlink";
    case ChangeKind::kMakeLink:
      return "symlink";
    case ChangeKind::kMakeFile:
      return "create";
    case ChangeKind::kReplaceFile:
      return "replace";
    case ChangeKind::kAllowWriting:
    case ChangeKind::kSetMode:
      return "chmod";
    case ChangeKind::kClearImmutable:
    case ChangeKind::kSetImmutable:
      return "chattr";
    case ChangeKind::kSetState:
      return "state";
    case ChangeKind::kSetAttributes:
      break;
  }
  return "attributes";
}

/// The layers, the disk first.
class CTreeStack {
 public:
  CTreeLayer &Top() const { return *layers_.back(); }

  void Put(CTreeLayer *layer, std::size_t place) {
    layers_.insert(layers_.begin() + static_cast<std::ptrdiff_t>(place), layer);
    Tie();
  }
  void PutOnTop(CTreeLayer *layer) { Put(layer, layers_.size()); }

  void Remove(CTreeLayer *layer) {
    std::erase(layers_, layer);
    Tie();
  }

 private:
  void Tie() const {
    for (std::size_t i = 1; i < layers_.size(); ++i) layers_[i]->below_ = layers_[i - 1];
  }

  std::vector<CTreeLayer *> layers_ = {&Disk()};
};

namespace {

CTreeStack &Stack() {
  static CTreeStack stack;
  return stack;
}

}  // namespace

CTreeLayer &Tree() {
  return Stack().Top();
}

void PutLayerOnTop(CTreeLayer *layer) {
  Stack().PutOnTop(layer);
}

void PutLayerOnDisk(CTreeLayer *layer) {
  Stack().Put(layer, 1);
}

void RemoveLayer(CTreeLayer *layer) {
  Stack().Remove(layer);
}
