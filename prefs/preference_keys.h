/// The eight preference keys with their types and defaults, written once.
#pragma once

#include <cstdint>
#include <string_view>

enum class PreferenceType { kBoolean, kNumber };

struct PreferenceKey {
  std::string_view name;
  PreferenceType type;
  std::int16_t defaultValue;  ///< for a key that is missing or of another type; 0 or 1 if Boolean
};

/// What is done with each file: 1 move it up, 2 make an alias of it; with any other value nothing.
inline constexpr PreferenceKey kOperation{"Operation", PreferenceType::kNumber, 1};
/// Quit about a second after a folder is done.
inline constexpr PreferenceKey kQuitWhenDone{"QuitWhenDone", PreferenceType::kBoolean, false};
/// Treat applications and other packages as single items.
inline constexpr PreferenceKey kIgnoreApplications{"IgnoreApplications", PreferenceType::kBoolean,
                                                   true};
/// Give a file whose name is taken in the dropped folder a unique new one.
inline constexpr PreferenceKey kRenameDuplicates{"RenameDuplicates", PreferenceType::kBoolean,
                                                 true};
/// Delete the sub-folders afterwards, with whatever is left in them.
inline constexpr PreferenceKey kDeleteEmptiedFolders{"DeleteEmptiedFolders",
                                                     PreferenceType::kBoolean, false};
/// Those that still hold a file are moved to the trash instead, each whole.
inline constexpr PreferenceKey kDeleteToTrash{"DeleteToTrash", PreferenceType::kBoolean, false};
/// Sort the items by extension into sub-folders afterwards.
inline constexpr PreferenceKey kAggregateFilesWhenDone{"AggregateFilesWhenDone",
                                                       PreferenceType::kBoolean, false};

/// Show what a drop on the window would do, and do it when the user says so.
inline constexpr PreferenceKey kPreviewFirst{"PreviewFirst", PreferenceType::kBoolean, false};

inline constexpr PreferenceKey kPreferenceKeys[] = {kOperation,
                                                    kQuitWhenDone,
                                                    kIgnoreApplications,
                                                    kRenameDuplicates,
                                                    kDeleteEmptiedFolders,
                                                    kDeleteToTrash,
                                                    kAggregateFilesWhenDone,
                                                    kPreviewFirst};
