#include "platform/posix/item_reference.h"

#include <array>
#include <bit>
#include <cstring>
#include <new>
#include <string>
#include <unordered_set>

const char *KeepName(std::string_view bytes) {
  static std::unordered_set<std::string> names;
  return names.emplace(bytes).first->c_str();
}

const char *ItemReference::Name() const {
  if (nameLength <= kInlineNameSize) return name;
  const char *kept = nullptr;
  std::memcpy(&kept, name, sizeof kept);
  return kept;
}

void ItemReference::SetName(std::string_view bytes) {
  nameLength = static_cast<std::uint8_t>(bytes.size());
  std::memset(name, 0, sizeof name);
  if (bytes.size() <= kInlineNameSize) {
    std::memcpy(name, bytes.data(), bytes.size());
  } else {
    const char *kept = KeepName(bytes);
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
