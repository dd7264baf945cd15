/// The window that shows what came of a run: a long list, as the program keeps it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

enum class ResultColumn : std::uint8_t { kItem, kHappened, kWhere };
inline constexpr int kResultColumns = 3;

/// One kind of what can have happened, and how many rows have it.
struct ResultKind {
  unsigned kind;
  std::string name;
  std::size_t count;
};

/// What has become of the rows since the last look.
enum class ResultNews : std::uint8_t {
  kNone,
  kMoreRows,   ///< behind those that were there
  kOtherRows,  ///< in between, or all are others
};

/// What there will be to take in.
enum class ResultsToCome : std::uint8_t {
  kNone,   ///< until the list says so
  kLater,  ///< a run is on
  kNow,
};

enum class ResultFormat : std::uint8_t {
  kJson,  ///< all that is known of the run, as in docs/reports.md
  kCsv,   ///< the rows that are shown, as they are shown
};

/// What a plan asks beside its rows, in UTF-8: whether to do what they say.
struct PlanQuestion {
  std::string summary;
  std::string notice;  ///< what there is to be thought of first; mostly empty
  bool isGrave;        ///< the notice is a warning
  bool canBeCarriedOut;
};

/// The list: the rows that its user wants to see, in the order that he wants. All texts are bytes,
/// with names as they are on disk.
class CResultList {
 public:
  /// To be called before anything else, and Close afterwards to give everything back. `wakeUp` is
  /// called in between whenever there is something to take in again, as when a run begins; it must
  /// not throw.
  virtual void Open(std::function<void()> wakeUp) = 0;
  virtual void Close() = 0;

  /// Takes in what has happened since, for so many milliseconds at the most, save that sorting may
  /// take longer.
  virtual ResultNews Follow(int milliseconds, ResultsToCome *toCome) = 0;

  /// The paths of the folders that it is about.
  virtual std::vector<std::string> Folders() const = 0;
  /// None while it tells of what was done. It has changed only when Follow brings other rows, but
  /// for whether the plan can be carried out.
  virtual std::optional<PlanQuestion> Question() const = 0;
  /// Answers it; not to be called for a plan that can't be carried out.
  virtual void CarryOut() = 0;

  /// What is missing in the list, and why; empty when nothing is.
  virtual std::string WhatIsMissing() const = 0;
  /// The kinds that rows have, whether they are wanted or not.
  virtual std::vector<ResultKind> Kinds() const = 0;

  /// Of all kinds when there is none; `search` may be in the item or in where to or why, whatever
  /// its case. What is wanted, and the order, hold for the next run too.
  virtual void Select(std::optional<unsigned> kind, const std::string &search) = 0;
  /// As it happened when there is no column.
  virtual void SortBy(std::optional<ResultColumn> column, bool isDescending) = 0;

  virtual std::size_t Count() const = 0;
  virtual std::string TextOf(std::size_t row, ResultColumn column) const = 0;
  /// The absolute path of the item as it is after what has happened.
  virtual std::string PathOf(std::size_t row) const = 0;
  /// The same number for the same row, wherever it stands.
  virtual std::size_t NumberOf(std::size_t row) const = 0;

  /// Writes the results piece by piece; false, and no more, when `write` answers so. Takes in first
  /// what the format tells and was not taken in yet.
  virtual bool Save(ResultFormat format,
                    const std::function<bool(std::string_view text)> &write) = 0;

 protected:
  ~CResultList() = default;
};

/// Shows the window, or brings it to the front. There is one; the list has to stay as long as the
/// process.
void ShowResultsWindow(CResultList *list);
