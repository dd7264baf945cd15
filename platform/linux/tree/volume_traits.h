/// What is known of the volumes that a run works on: how finely they keep times, and which ways of
/// moving an item without replacing another they have turned out to lack.
#pragma once

#include <sys/types.h>

#include <optional>

struct VolumeTraits {
  dev_t device = 0;
  /// Whether it is a kind of volume that notes every change of a folder within milliseconds. Never
  /// known of FUSE and network volumes, where others change folders unseen.
  bool isPrompt = false;
  bool hasRenameNoReplace = true;  ///< until renameat2(2) refuses RENAME_NOREPLACE
  bool hasLinks = true;            ///< until it refuses one, or gives one an identity of its own
  /// Whether its listings tell the inode numbers that a look tells; nullopt until one was compared.
  std::optional<bool> listsInodes = std::nullopt;
};

/// The traits of the volume that an open item lies on; what is found out is noted in them. The
/// reference holds until the next call.
VolumeTraits &TraitsOfVolume(dev_t device, int descriptor);

/// Forgets all of them: a device's number can be another volume's by now.
void ForgetVolumeTraits();
