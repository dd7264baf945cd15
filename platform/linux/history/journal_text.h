/// The lines of a journal, as text in memory: written and taken apart without touching a file.
/// docs/journal.md describes the format.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/tree/folder_state.h"
#include "platform/linux/tree/item_identity.h"

/// Begins every journal, before the number of its format.
inline constexpr std::string_view kJournalSignature = "Vannerly journal ";
/// The one that is written. The first is still read: it tells steps, and not what was meant.
inline constexpr std::uint32_t kJournalFormat = 2;
inline constexpr std::uint32_t kFirstJournalFormat = 1;

struct FolderIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;

  bool operator==(const FolderIdentity &) const = default;
};

/// What a journal says before its first change.
struct JournalHeader {
  std::uint32_t format = kJournalFormat;
  std::string program;  ///< name and version
  std::string time;     ///< of its beginning, as TimeForJournal writes it
  std::uint32_t process = 0;
  std::uint64_t device = 0;           ///< of the dropped folder
  ItemIdentity identity;              ///< of the dropped folder
  std::string path;                   ///< of the dropped folder, absolute, as bytes on disk
  FolderState before;                 ///< of the dropped folder; not in the first format
  std::vector<FolderIdentity> above;  ///< the folders above it, up to the root
};

/// The header's lines, in the format that is written.
std::string WriteJournalHeader(const JournalHeader &header);

/// Understands the header of a journal, of which more or nothing may follow. Answers nothing when
/// it is not complete or is no header of this format.
std::optional<JournalHeader> ParseJournalHeader(std::string_view text);

/// Now, in UTC: "2026-11-21T18:22:05Z".
std::string TimeForJournal();

/// The same in nanoseconds: "2026-11-21T18:22:05.123456789Z".
std::string ExactTimeForJournal();
/// Either, read: in nanoseconds since 1970, the last one of a second; 0 for what is no such time.
std::int64_t ReadJournalTime(const std::string &time);

/// Writes one line into memory: a word, then fields with a tab before each.
class CJournalLine {
 public:
  /// `at` has room for the line; see RoomFor.
  explicit CJournalLine(char *at) : at_(at) {}

  void Word(std::string_view word);
  void Number(std::uint64_t number);
  void Text(std::string_view bytes);  ///< escaped, so that any bytes stay one field of plain text
  void Identity(const ItemIdentity &identity);
  void Identity(const FolderIdentity &identity);
  void Mode(std::uint32_t permissions);
  void State(const FolderState &state);
  /// Ends the line and answers where the next one begins.
  char *End();

  /// Room for a line with texts of so many bytes in all, besides its word and numbers.
  static constexpr std::size_t RoomFor(std::size_t textSize) { return 256 + 4 * textSize; }

 private:
  template <typename Integer>
  void Digits(Integer number, int base = 10);

  char *at_;
};

/// A line in a string of its own.
std::string JournalLineOf(std::string_view word, std::initializer_list<std::string_view> texts);

/// The fields of one line. Each answers nothing when there is no further field or when it is not
/// what is asked for.
class CJournalFields {
 public:
  /// `line` is without its end and is used as long as the object.
  explicit CJournalFields(std::string_view line) : rest_(line) {}

  bool IsAtEnd() const { return isAtEnd_; }
  std::optional<std::string_view> Raw();
  std::optional<std::uint64_t> Number();
  std::optional<std::string> Text();
  /// A text that can be the name of an item in a folder.
  std::optional<std::string> Name();
  std::optional<ItemIdentity> Identity();
  std::optional<FolderIdentity> Folder();
  std::optional<FolderState> State();
  /// Permission bits.
  std::optional<std::uint32_t> Mode();

 private:
  std::string_view rest_;
  bool isAtEnd_ = false;
};

/// Takes the next complete line, without its end, off the front of `text`. Answers nothing at the
/// end, which is also where a line is cut short or a zero byte stands: what follows was never
/// written.
std::optional<std::string_view> TakeJournalLine(std::string_view *text);
