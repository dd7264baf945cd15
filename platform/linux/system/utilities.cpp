#include "platform/utilities.h"

#include <pthread.h>
#include <sys/mman.h>
#include <sys/random.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>

namespace {

/// Seconds from the beginning of 1904 to that of 1970.
constexpr std::uint32_t kSecondsFrom1904To1970 = 2082844800;

/// Random bytes fetched ahead: a run asks for one identifier a file, and a system call for each
/// would cost more than the rest.
struct RandomBytes {
  std::array<std::uint8_t, 1024> bytes;
  std::size_t used = sizeof bytes;
};
RandomBytes randomBytes;

/// A forked process must not hand out what its parent still holds.
void ForgetRandomBytes() {
  randomBytes.used = randomBytes.bytes.size();
}

bool FillRandomBytes() {
  static const int registered = pthread_atfork(nullptr, nullptr, ForgetRandomBytes);
  if (registered != 0) return false;
  std::size_t filled = 0;
  while (filled < randomBytes.bytes.size()) {
    const ssize_t count =
        getrandom(randomBytes.bytes.data() + filled, randomBytes.bytes.size() - filled, 0);
    if (count > 0) {
      filled += static_cast<std::size_t>(count);
    } else if (count == 0 || errno != EINTR) {
      return false;
    }
  }
  randomBytes.used = 0;
  return true;
}

}  // namespace

void *NewPtr(std::size_t size) {
  // In pages of 2 MB the system prepares memory at a fraction of the cost of as many small ones,
  // which for the list of a large run is more than is done with it.
  constexpr std::size_t kHugePage = std::size_t{2} << 20;
  if (size < 2 * kHugePage) return std::malloc(std::max<std::size_t>(size, 1));
  const std::size_t rounded = (size + kHugePage - 1) / kHugePage * kHugePage;
  void *const block = std::aligned_alloc(kHugePage, rounded);
  if (block != nullptr) (void)madvise(block, rounded, MADV_HUGEPAGE);
  return block;
}

void DisposePtr(void *block) {
  std::free(block);
}

void GetDateTime(std::uint32_t *seconds) {
  *seconds = static_cast<std::uint32_t>(std::time(nullptr)) + kSecondsFrom1904To1970;
}

std::optional<CFUUID> CFUUIDCreate() {
  CFUUID uuid;
  if (randomBytes.bytes.size() - randomBytes.used < uuid.size() && !FillRandomBytes()) {
    return std::nullopt;
  }
  std::copy_n(randomBytes.bytes.data() + randomBytes.used, uuid.size(), uuid.data());
  randomBytes.used += uuid.size();
  uuid[6] = static_cast<std::uint8_t>(0x40 | (uuid[6] & 0x0F));
  uuid[8] = static_cast<std::uint8_t>(0x80 | (uuid[8] & 0x3F));
  return uuid;
}

std::u16string CFUUIDCreateString(const CFUUID &uuid) {
  constexpr char16_t kDigits[] = u"0123456789ABCDEF";
  std::u16string text;
  text.reserve(36);
  for (std::size_t i = 0; i < uuid.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += u'-';
    text += kDigits[uuid[i] >> 4];
    text += kDigits[uuid[i] & 0xF];
  }
  return text;
}
