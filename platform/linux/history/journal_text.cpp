#include "platform/linux/history/journal_text.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <ctime>
#include <utility>

#include "platform/linux/system/disk_names.h"

namespace {

/// A path that is nothing but one name; no file system has longer ones (PATH_MAX, limits.h).
constexpr std::size_t kLongestName = 4095;

/// Bytes that stand for themselves, whatever stands beside them.
bool IsPlain(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return byte >= 0x20 && byte < 0x7F && byte != '\\';
}

/// The length of the readable text that starts at `start`; 0 for a byte that has to be escaped.
std::size_t ReadableLength(std::string_view bytes, std::size_t start) {
  char32_t codePoint = 0;
  const std::size_t length = Utf8SequenceLength(bytes, start, &codePoint);
  const bool isControl = codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0);
  return isControl || codePoint == '\\' ? 0 : length;
}

/// Whether IsPlain holds for eight bytes, asked of all at once. A byte of `word - n * kOnes` has
/// its high bit set, where `word` has not, when it or one to its right is less than n, which must
/// be less than 0x80.
bool ArePlain(const char *bytes) {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  constexpr std::uint64_t kHighBits = 0x80 * kOnes;
  const auto isAnyLess = [](std::uint64_t word, std::uint64_t n) {
    return ((word - n * kOnes) & ~word & kHighBits) != 0;
  };
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return (word & kHighBits) == 0 && !isAnyLess(word, 0x20) && !isAnyLess(word ^ 0x7F * kOnes, 1) &&
         !isAnyLess(word ^ '\\' * kOnes, 1);
}

char *WriteEscaped(char *at, std::string_view bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  constexpr std::size_t kBlock = sizeof(std::uint64_t);
  for (std::size_t i = 0; i < bytes.size();) {
    if (i + kBlock <= bytes.size() && ArePlain(bytes.data() + i)) {
      at = std::copy_n(bytes.data() + i, kBlock, at);
      i += kBlock;
      continue;
    }
    if (IsPlain(bytes[i])) {
      *at++ = bytes[i++];
      continue;
    }
    if (const std::size_t length = ReadableLength(bytes, i); length > 0) {
      at = std::copy_n(bytes.data() + i, length, at);
      i += length;
      continue;
    }
    const auto byte = static_cast<unsigned char>(bytes[i++]);
    *at++ = '\\';
    if (byte == '\n' || byte == '\t' || byte == '\\') {
      *at++ = byte == '\n' ? 'n' : byte == '\t' ? 't' : '\\';
    } else {
      *at++ = 'x';
      *at++ = kDigits[byte >> 4];
      *at++ = kDigits[byte & 0xF];
    }
  }
  return at;
}

/// What an escape stands for; `text` begins after the backslash and is advanced.
std::optional<char> TakeEscape(std::string_view *text) {
  if (text->empty()) return std::nullopt;
  const char kind = text->front();
  text->remove_prefix(1);
  if (kind == 'n') return '\n';
  if (kind == 't') return '\t';
  if (kind == '\\') return '\\';
  unsigned value = 0;
  if (kind != 'x' || text->size() < 2) return std::nullopt;
  const auto [end, error] = std::from_chars(text->data(), text->data() + 2, value, 16);
  if (error != std::errc() || end != text->data() + 2) return std::nullopt;
  text->remove_prefix(2);
  return static_cast<char>(value);
}

template <typename Integer = std::uint64_t>
std::optional<Integer> ParseNumber(std::string_view text, int base = 10) {
  Integer number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

/// Two numbers with a colon between them.
template <typename Number>
bool ParsePair(std::optional<std::string_view> field, Number *first, Number *second) {
  if (!field) return false;
  const std::size_t colon = field->find(':');
  if (colon == std::string_view::npos) return false;
  const auto one = ParseNumber(field->substr(0, colon));
  const auto other = ParseNumber(field->substr(colon + 1));
  if (!one || !other) return false;
  *first = static_cast<Number>(*one);
  *second = static_cast<Number>(*other);
  return true;
}

constexpr std::int64_t kSecond = 1'000'000'000;

std::string TimeOfSecond(std::time_t second) {
  std::tm parts{};
  (void)gmtime_r(&second, &parts);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

std::size_t TextSize(const JournalHeader &header) {
  return header.program.size() + header.path.size() + header.time.size();
}

}  // namespace

std::string WriteJournalHeader(const JournalHeader &header) {
  constexpr std::size_t kRoomForIdentity = 48;
  std::string text(CJournalLine::RoomFor(TextSize(header)) + CJournalLine::RoomFor(0) +
                       kRoomForIdentity * header.above.size(),
                   '\0');
  CJournalLine first(text.data());
  first.Word(kJournalSignature);
  first.Word(std::to_string(kJournalFormat));
  first.Text(header.program);
  first.Text(header.time);
  first.Number(header.process);
  first.Number(header.device);
  first.Identity(header.identity);
  first.Text(header.path);
  first.State(header.before);
  CJournalLine second(first.End());
  second.Word("above");
  for (const FolderIdentity &folder : header.above) second.Identity(folder);
  text.resize(static_cast<std::size_t>(second.End() - text.data()));
  return text;
}

std::optional<JournalHeader> ParseJournalHeader(std::string_view text) {
  const auto firstLine = TakeJournalLine(&text);
  const auto secondLine = TakeJournalLine(&text);
  if (!firstLine || !secondLine) return std::nullopt;
  CJournalFields first(*firstLine);
  const std::string_view signature = first.Raw().value_or("");
  if (!signature.starts_with(kJournalSignature)) return std::nullopt;
  const auto format = ParseNumber(signature.substr(kJournalSignature.size()));
  if (format != kFirstJournalFormat && format != kJournalFormat) return std::nullopt;
  const auto program = first.Text();
  const auto time = first.Text();
  const auto process = first.Number();
  const auto device = first.Number();
  const auto identity = first.Identity();
  const auto path = first.Text();
  if (!program || !time || !process || !device || !identity || !path) return std::nullopt;
  const auto before = format == kFirstJournalFormat ? FolderState() : first.State();
  if (!before) return std::nullopt;
  if (!path->starts_with('/') || path->find('\0') != std::string::npos) return std::nullopt;
  CJournalFields second(*secondLine);
  if (second.Raw() != "above") return std::nullopt;
  std::vector<FolderIdentity> above;
  while (!second.IsAtEnd()) {
    const auto folder = second.Folder();
    if (!folder) return std::nullopt;
    above.push_back(*folder);
  }
  return JournalHeader{static_cast<std::uint32_t>(*format),
                       *program,
                       *time,
                       static_cast<std::uint32_t>(*process),
                       *device,
                       *identity,
                       *path,
                       *before,
                       std::move(above)};
}

std::string TimeForJournal() {
  return TimeOfSecond(std::time(nullptr));
}

std::string ExactTimeForJournal() {
  timespec now{};
  (void)clock_gettime(CLOCK_REALTIME, &now);
  std::string text = TimeOfSecond(now.tv_sec);
  const std::string rest = std::to_string(kSecond + now.tv_nsec).substr(1);
  return text.insert(text.size() - 1, "." + rest);
}

std::int64_t ReadJournalTime(const std::string &time) {
  std::tm parts{};
  const char *const second = strptime(time.c_str(), "%Y-%m-%dT%H:%M:%S", &parts);
  if (second == nullptr) return 0;
  const std::string_view rest(second);
  const std::int64_t seconds = timegm(&parts);
  // Which 64 bits of nanoseconds tell until the year 2262.
  if (seconds < 0 || seconds >= INT64_MAX / kSecond) return 0;
  const std::int64_t start = seconds * kSecond;
  if (rest == "Z") return start + kSecond - 1;
  constexpr std::size_t kDigits = 9;
  if (rest.size() != kDigits + 2 || !rest.starts_with('.') || !rest.ends_with('Z')) return 0;
  return start + ParseNumber<std::int64_t>(rest.substr(1, kDigits)).value_or(kSecond - 1);
}

void CJournalLine::Word(std::string_view word) {
  at_ = std::copy_n(word.data(), word.size(), at_);
}

template <typename Integer>
void CJournalLine::Digits(Integer number, int base) {
  at_ = std::to_chars(at_, at_ + 22, number, base).ptr;
}

void CJournalLine::Number(std::uint64_t number) {
  *at_++ = '\t';
  Digits(number);
}

void CJournalLine::Text(std::string_view bytes) {
  *at_++ = '\t';
  at_ = WriteEscaped(at_, bytes);
}

void CJournalLine::Identity(const ItemIdentity &identity) {
  Number(identity.inode);
  *at_++ = ':';
  Digits(identity.birth);
}

void CJournalLine::Identity(const FolderIdentity &identity) {
  Number(identity.device);
  *at_++ = ':';
  Digits(identity.inode);
}

void CJournalLine::Mode(std::uint32_t permissions) {
  *at_++ = '\t';
  Digits(permissions, 8);
}

void CJournalLine::State(const FolderState &state) {
  Mode(state.mode);
  Number(state.owner);
  *at_++ = ':';
  Digits(state.group);
  *at_++ = '\t';
  Digits(state.modified);
}

char *CJournalLine::End() {
  *at_++ = '\n';
  return at_;
}

std::string JournalLineOf(std::string_view word, std::initializer_list<std::string_view> texts) {
  std::size_t size = 0;
  for (const std::string_view text : texts) size += text.size() + 1;
  std::string line(CJournalLine::RoomFor(size), '\0');
  CJournalLine writer(line.data());
  writer.Word(word);
  for (const std::string_view text : texts) writer.Text(text);
  line.resize(static_cast<std::size_t>(writer.End() - line.data()));
  return line;
}

std::optional<std::string_view> CJournalFields::Raw() {
  if (isAtEnd_) return std::nullopt;
  const std::size_t tab = rest_.find('\t');
  const std::string_view field = rest_.substr(0, tab);
  isAtEnd_ = tab == std::string_view::npos;
  rest_.remove_prefix(isAtEnd_ ? rest_.size() : tab + 1);
  return field;
}

std::optional<std::uint64_t> CJournalFields::Number() {
  const auto field = Raw();
  return field ? ParseNumber(*field) : std::nullopt;
}

std::optional<std::string> CJournalFields::Text() {
  auto field = Raw();
  if (!field) return std::nullopt;
  std::string bytes;
  for (;;) {
    const std::size_t plain = std::min(field->find('\\'), field->size());
    bytes.append(*field, 0, plain);
    if (plain == field->size()) return bytes;
    field->remove_prefix(plain + 1);
    const auto escaped = TakeEscape(&*field);
    if (!escaped) return std::nullopt;
    bytes.push_back(*escaped);
  }
}

std::optional<std::string> CJournalFields::Name() {
  auto name = Text();
  const bool isName = name && !name->empty() && name->size() <= kLongestName && *name != "." &&
                      *name != ".." && name->find('/') == std::string::npos &&
                      name->find('\0') == std::string::npos;
  return isName ? name : std::nullopt;
}

std::optional<ItemIdentity> CJournalFields::Identity() {
  ItemIdentity identity;
  if (!ParsePair(Raw(), &identity.inode, &identity.birth)) return std::nullopt;
  return identity;
}

std::optional<FolderIdentity> CJournalFields::Folder() {
  FolderIdentity identity;
  if (!ParsePair(Raw(), &identity.device, &identity.inode)) return std::nullopt;
  return identity;
}

std::optional<std::uint32_t> CJournalFields::Mode() {
  const auto field = Raw();
  const auto bits = field ? ParseNumber(*field, 8) : std::nullopt;
  if (!bits || *bits > 07777) return std::nullopt;
  return static_cast<std::uint32_t>(*bits);
}

std::optional<FolderState> CJournalFields::State() {
  const auto mode = Mode();
  FolderState state;
  const bool hasOwner = ParsePair(Raw(), &state.owner, &state.group);
  const auto time = Raw();
  const auto modified = time ? ParseNumber<std::int64_t>(*time) : std::nullopt;
  if (!mode || !hasOwner || !modified) return std::nullopt;
  state.mode = *mode;
  state.modified = *modified;
  return state;
}

std::optional<std::string_view> TakeJournalLine(std::string_view *text) {
  const std::size_t end = text->find('\n');
  if (end == std::string_view::npos) return std::nullopt;
  const std::string_view line = text->substr(0, end);
  if (line.find('\0') != std::string_view::npos) return std::nullopt;
  text->remove_prefix(end + 1);
  return line;
}
