#include "platform/linux/tree/volume_traits.h"

#include <linux/magic.h>

#include <algorithm>
#include <array>
#include <vector>

#include "platform/linux/tree/tree_layer.h"

namespace {

std::vector<VolumeTraits> &KnownVolumes() {
  static std::vector<VolumeTraits> volumes;
  return volumes;
}

/// Local file systems of the kernel's own, each with times in nanoseconds. Not named in the
/// kernel's header: XFS (fs/xfs/libxfs/xfs_format.h).
bool IsPrompt(int descriptor) {
  constexpr long kXfsMagic = 0x58465342;
  constexpr std::array<long, 5> kPrompt{EXT4_SUPER_MAGIC, BTRFS_SUPER_MAGIC, F2FS_SUPER_MAGIC,
                                        TMPFS_MAGIC, kXfsMagic};
  VolumeStatus volume{};
  return Tree().LookAtVolume(descriptor, &volume) == 0 &&
         std::ranges::find(kPrompt, volume.kind) != kPrompt.end();
}

}  // namespace

VolumeTraits &TraitsOfVolume(dev_t device, int descriptor) {
  std::vector<VolumeTraits> &volumes = KnownVolumes();
  const auto known = std::ranges::find(volumes, device, &VolumeTraits::device);
  if (known != volumes.end()) return *known;
  volumes.push_back({device, IsPrompt(descriptor)});
  return volumes.back();
}

void ForgetVolumeTraits() {
  KnownVolumes().clear();
}
