#include <algorithm>
#include <climits>

#include "platform/linux/history/journal_reader.h"
#include "platform/linux/history/journal_text.h"
#include "tests/fuzz/fuzz.h"

namespace {

bool IsName(std::string_view name) {
  return !name.empty() && name.size() < PATH_MAX && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\0", 2)) == name.npos;
}

bool IsPlaceIn(const Journal &journal, const JournalPlace &place) {
  return place.folder < journal.folders.size() && IsName(place.name);
}

/// Recovery goes by what is checked here: it must never be led out of the journal's folders.
void LookAtJournal(const Journal &journal) {
  Require(journal.header.path.starts_with('/'), "the dropped folder's path is absolute");
  Require(!journal.folders.empty(), "the dropped folder is one of the folders");
  for (std::size_t i = 1; i < journal.folders.size(); ++i) {
    Require(journal.folders[i].parent < i, "the way up from a folder ends");
    Require(IsName(journal.folders[i].name), "a folder is an item of its parent");
  }
  for (const HalfMove &move : journal.halfMoves) {
    Require(!move.places.empty() && move.goal < move.places.size(), "an item belongs to a folder");
    for (auto place = move.places.begin(); place != move.places.end(); ++place) {
      Require(IsPlaceIn(journal, *place), "an item is in a folder");
      Require(std::find(place + 1, move.places.end(), *place) == move.places.end(),
              "no place is there twice");
    }
  }
}

void LookAtText(std::string_view text, std::size_t cut) {
  const std::optional<Journal> journal = ParseJournal(text);
  if (!journal) return;
  Require(journal->size <= text.size(), "no more is understood than there is");
  LookAtJournal(*journal);
  const std::optional<Journal> again = ParseJournal(text.substr(0, journal->size));
  Require(
      again && again->size == journal->size && again->halfMoves.size() == journal->halfMoves.size(),
      "what comes after the last complete line counts for nothing");
  // However early the process had been killed, the journal would be one.
  const std::string_view earlier = text.substr(0, std::min(cut, text.size()));
  Require(ParseJournal(earlier).has_value() == ParseJournalHeader(earlier).has_value(),
          "the beginning of a journal is a journal");
  const std::string header = WriteJournalHeader(journal->header);
  const std::optional<JournalHeader> back = ParseJournalHeader(header);
  Require(back && back->path == journal->header.path && back->program == journal->header.program &&
              back->time == journal->header.time && back->device == journal->header.device &&
              back->identity == journal->header.identity && back->above == journal->header.above,
          "a header makes the round trip");
}

/// Two texts of any bytes are a line of two fields.
void LookAtFields(std::string_view first, std::string_view second) {
  const std::string written = JournalLineOf("word", {first, second});
  std::string_view rest = written;
  const std::optional<std::string_view> line = TakeJournalLine(&rest);
  Require(line && rest.empty(), "a record is one line");
  const auto isControl = [](char byte) {
    return static_cast<unsigned char>(byte) < 0x20 && byte != '\t';
  };
  Require(std::none_of(line->begin(), line->end(), isControl), "a line can be read by a person");
  CJournalFields fields(*line);
  Require(fields.Raw() == "word" && fields.Text() == first && fields.Text() == second &&
              fields.IsAtEnd(),
          "texts make the round trip");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const std::size_t cut = input.ConsumeIntegral<std::uint16_t>();
  const std::string text = input.ConsumeRemainingBytesAsString();
  LookAtText(text, cut);
  const std::string_view view = text;
  LookAtFields(view.substr(0, std::min(cut, text.size())), view.substr(std::min(cut, text.size())));
  return 0;
}
