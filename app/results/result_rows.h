/// What happened to each item of a run, kept small, for a run can have a million: some 50 bytes a
/// row with the names, and every folder once.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "engine/run_events.h"

/// One of the folders that rows lie in.
using ResultFolder = std::uint32_t;
inline constexpr ResultFolder kNoResultFolder = UINT32_MAX;

/// An item by the folder it lies in and its name there, as bytes. Without a name it is the folder
/// itself; in kNoResultFolder there is none.
struct ResultPlace {
  ResultFolder folder = kNoResultFolder;
  std::string_view name = {};

  bool IsSet() const { return folder != kNoResultFolder; }
};

/// What happened to one item. The names are valid as long as the rows they are from.
struct ResultRow {
  RunEvent event;
  ResultPlace item;
  ResultPlace to = {};  ///< where it has come to, or where it belongs; where what tells it has one
  OSErr error = noErr;
  std::int32_t count = 1;  ///< of items, where the row stands for several; it has no `to` then
};

/// Whether what the rows say has happened, or would.
enum class Tense : std::uint8_t { kHappened, kWouldHappen };

class CResultRows {
 public:
  explicit CResultRows(Tense tense = Tense::kHappened);
  CResultRows(const CResultRows &) = delete;
  CResultRows &operator=(const CResultRows &) = delete;

  /// Both throw when there is no memory, or no number left for one more; what is there stays.
  void Add(const ResultRow &row);
  /// The rows of another from `first` up to `end`.
  void AddFrom(const CResultRows &other, std::size_t first, std::size_t end);

  /// The rows from here on are of the next of the folders that all are about.
  void BeginSection() { sections_.push_back(rows_.size()); }
  /// The first row of such a folder, and where its rows end so far.
  std::pair<std::size_t, std::size_t> Section(std::size_t number) const;

  bool AreOfPlan() const { return tense_ == Tense::kWouldHappen; }
  std::size_t Count() const { return rows_.size(); }
  std::size_t CountOf(RunEvent event) const { return counts_[static_cast<std::size_t>(event)]; }
  ResultRow operator[](std::size_t row) const;

  /// A folder that was dropped, by its absolute path.
  ResultFolder DroppedFolder(std::string_view path);
  /// The folder of that name in another; each is there once.
  ResultFolder FolderIn(ResultFolder parent, std::string_view name);
  /// The place of an item in the dropped folder, or outside of it, by its absolute path.
  ResultPlace PlaceOf(std::string_view path, ResultFolder dropped);

  std::size_t FolderCount() const { return folders_.size(); }
  /// kNoResultFolder for a dropped folder, and for one outside of these.
  ResultFolder ParentOf(ResultFolder folder) const { return folders_[folder].parent; }
  /// In its parent; the whole path where it has none.
  std::string_view NameOf(ResultFolder folder) const;

  /// Appends the absolute path.
  void AppendPath(const ResultPlace &place, std::string *path) const;
  /// Appends the path within the dropped folder, with the name of that before it when several have
  /// been dropped. What lies outside keeps its whole path.
  void AppendShortPath(const ResultPlace &place, std::string *path) const;

 private:
  /// A text in the block of all names.
  struct Text {
    std::uint32_t at = 0;
    std::uint32_t length = 0;
  };
  struct Folder {
    ResultFolder parent;
    Text name;
    bool isDropped;
  };
  struct Row {
    ResultFolder folder;
    ResultFolder toFolder;
    std::uint32_t name;
    std::uint32_t toName;  ///< the count in a row without a place to be at
    std::uint16_t nameLength;
    std::uint16_t toNameLength;
    OSErr error;
    RunEvent event;
  };
  static_assert(sizeof(Row) == 24);

  struct FolderKey {
    ResultFolder parent;
    std::string_view name;
    bool operator==(const FolderKey &) const = default;
  };
  FolderKey KeyOf(ResultFolder folder) const { return {ParentOf(folder), NameOf(folder)}; }
  FolderKey KeyOf(const FolderKey &key) const { return key; }
  /// Finds a folder by what it is called.
  struct FolderHash {
    using is_transparent = void;
    const CResultRows *rows;
    std::size_t operator()(const auto &folder) const {
      const FolderKey key = rows->KeyOf(folder);
      return std::hash<std::string_view>()(key.name) ^
             (key.parent * std::size_t{0x9E3779B97F4A7C15});
    }
  };
  struct FolderEqual {
    using is_transparent = void;
    const CResultRows *rows;
    bool operator()(const auto &a, const auto &b) const { return rows->KeyOf(a) == rows->KeyOf(b); }
  };

  Text Keep(std::string_view text);
  std::string_view View(const Text &text) const;
  ResultFolder AddFolder(ResultFolder parent, std::string_view name, bool isDropped);
  template <typename Stop>
  void AppendPathUpTo(const ResultPlace &place, std::string *path, Stop stop) const;

  Tense tense_;
  // In pieces, unlike a vector's: none has to be copied, and so be there twice, when there are
  // more.
  std::deque<Row> rows_;
  std::vector<std::size_t> sections_;  ///< where each begins
  std::vector<std::unique_ptr<char[]>> names_;
  std::size_t lastPieceUsed_;
  std::deque<Folder> folders_;
  std::unordered_set<ResultFolder, FolderHash, FolderEqual> byName_;
  std::size_t dropped_ = 0;
  std::array<std::size_t, kRunEventCount> counts_{};
  // What PlaceOf was asked for last: mostly the next one lies in the same folder.
  std::string lastPath_;
  ResultFolder lastFolder_ = kNoResultFolder;
};
