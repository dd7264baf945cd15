#include "platform/posix/item_reference.h"

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
  return std::memcmp(first.hidden, second.hidden, sizeof first.hidden) == 0;
}
