#include "platform/linux/tree/item_reference.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory_resource>
#include <new>
#include <optional>
#include <unordered_set>

namespace {

/// Names stand close together: a run whose every file gets a long new name keeps as many.
class CNames {
 public:
  const char *Keep(std::string_view bytes) {
    if (const auto known = names_.find(bytes); known != names_.end()) return known->data();
    char *const kept = static_cast<char *>(memory_.allocate(bytes.size() + 1, 1));
    *std::copy(bytes.begin(), bytes.end(), kept) = '\0';
    return names_.emplace(kept, bytes.size()).first->data();
  }

 private:
  std::pmr::monotonic_buffer_resource memory_{std::size_t{16} * 1024};
  std::pmr::unordered_set<std::string_view> names_{&memory_};
};

std::optional<CNames> &NamesOfRun() {
  static std::optional<CNames> names;
  return names;
}

}  // namespace

const char *KeepName(std::string_view bytes, KeepFor keepFor) {
  static CNames names;
  if (keepFor == KeepFor::kProcess) return names.Keep(bytes);
  if (!NamesOfRun()) NamesOfRun().emplace();
  return NamesOfRun()->Keep(bytes);
}

void ForgetNamesOfRun() {
  NamesOfRun().reset();
}

const char *ItemReference::Name() const {
  if (nameLength <= kInlineNameSize) return name;
  const char *kept = nullptr;
  std::memcpy(&kept, name, sizeof kept);
  return kept;
}

void ItemReference::SetName(std::string_view bytes, KeepFor keepFor) {
  nameLength = static_cast<std::uint16_t>(bytes.size());
  std::memset(name, 0, sizeof name);
  if (bytes.size() <= kInlineNameSize) {
    std::memcpy(name, bytes.data(), bytes.size());
  } else {
    const char *kept = KeepName(bytes, keepFor);
    std::memcpy(name, &kept, sizeof kept);
  }
}

bool ItemReference::IsRoot() const {
  return folder == kRootFolder && NameView() == "/";
}

const ItemReference &ReferenceIn(const FSRef &ref) {
  // An array of bytes may hold an object whose lifetime begins with the array's ([intro.object]).
  return *std::launder(reinterpret_cast<const ItemReference *>(ref.hidden));
}

FSRef RefHolding(const ItemReference &reference) {
  FSRef ref;
  std::memcpy(ref.hidden, &reference, sizeof ref.hidden);
  return ref;
}

bool IsSameReference(const FSRef &first, const FSRef &second) {
  // Words compared in line: asked several times a file, mostly about what is the same.
  using Words = std::array<std::uint64_t, sizeof(FSRef) / sizeof(std::uint64_t)>;
  const auto a = std::bit_cast<Words>(first);
  const auto b = std::bit_cast<Words>(second);
  std::uint64_t difference = 0;
  for (std::size_t i = 0; i < a.size(); ++i) difference |= a[i] ^ b[i];
  return difference == 0;
}
