/// The document that tells scripts of runs, as docs/reports.md describes it: its shape, whoever
/// writes it.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "app/json_writer.h"
#include "engine/run_observers.h"

/// What is told of a folder before its lists. What is not set is not known, and is left out.
struct ReportedFolder {
  std::string path;  ///< as bytes, like all paths here
  std::string time;  ///< when its run began
  std::string ended;
  std::optional<double> seconds;
  std::optional<RunCounts> counts;
  /// Which counts and lists there are; all when it is null.
  bool (*isKnown)(RunEvent event) = nullptr;
};

/// What is told of an item in the list of an event.
struct ReportedItem {
  RunEvent event;
  std::string path = {};
  std::string oldPath = {};  ///< where it belongs; empty when that is not told
  std::string now = {};      ///< where it is; empty when nothing has moved it
  OSErr error = noErr;
  std::int32_t count = 1;  ///< of items, in the folder of kCollated
};

enum class ReportedChange : std::uint8_t { kMoved, kAliased, kDeleted, kTrashed, kMade, kRestored };

/// Is called in the order of the document: the folders, the errors, the end.
class CReportDocument {
 public:
  /// `isComplete` is false when not all could be taken down.
  CReportDocument(CJsonWriter::Output output, const std::string &program, bool isPreview,
                  bool isComplete);

  /// `addItems` is called for every list, to add the items of its event in their order.
  void BeginFolder(const ReportedFolder &folder,
                   const std::function<void(RunEvent event)> &addItems);
  void AddItem(const ReportedItem &item);
  /// The list of changes, where they are told, comes last.
  void BeginChanges();
  /// `newPath` is where an item has moved to, or where an alias leads; empty where neither is told.
  void AddChange(ReportedChange change, const std::string &path, const std::string &newPath);
  void EndChanges() { writer_.Close(); }
  void EndFolder() { writer_.Close(); }

  void BeginErrors();
  void AddError(const std::string &folder, const std::string &reason);
  /// Answers whether all of it has been taken.
  bool End();

  /// False when the output takes no more: what follows goes nowhere.
  bool IsTaken() const { return writer_.IsTaken(); }

 private:
  CJsonWriter writer_;
};
