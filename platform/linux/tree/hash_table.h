/// Hash tables of small slots, in one block: open addressing, at most seven eighths full.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

/// A hash of a name, never 0. Bits that are set in each byte of `ignored` do not count.
inline std::uint32_t HashOfName(std::string_view name, std::uint64_t ignored = 0) {
  // Four are asked for with each file, so eight bytes are mixed in at once. The multiplier is 2^64
  // over the golden ratio (Knuth, The Art of Computer Programming, 6.4).
  constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15;
  const auto mix = [](std::uint64_t hash, std::uint64_t word) {
    hash = (hash ^ word) * kMultiplier;
    return hash ^ hash >> 32;
  };
  std::uint64_t hash = name.size();
  std::uint64_t word = 0;
  for (; name.size() > sizeof word; name.remove_prefix(sizeof word)) {
    std::memcpy(&word, name.data(), sizeof word);
    hash = mix(hash, word | ignored);
  }
  word = 0;
  for (const char character : name) word = word << 8 | static_cast<unsigned char>(character);
  return std::max<std::uint32_t>(static_cast<std::uint32_t>(mix(hash, word | ignored)), 1);
}

/// `Slot` has a `hash`, which is 0 in an empty one, and can be compared.
template <typename Slot>
class CHashTable {
 public:
  void Clear() {
    slots_.assign(kSmallest, Slot{});
    count_ = 0;
  }

  void Insert(const Slot &slot) {
    if (8 * (count_ + 1) > 7 * slots_.size()) Grow();
    PutIntoGap(slot);
    ++count_;
  }

  /// The first slot of that hash for which `isMeant(slot)`; null when there is none.
  template <typename IsMeant>
  const Slot *Find(std::uint32_t hash, IsMeant isMeant) const {
    for (std::size_t at = Home(hash); slots_[at].hash != 0; at = Next(at)) {
      if (slots_[at].hash == hash && isMeant(slots_[at])) return &slots_[at];
    }
    return nullptr;
  }

  void Erase(const Slot &slot) {
    const Slot *const found = Find(slot.hash, [&](const Slot &other) { return other == slot; });
    if (found == nullptr) return;
    auto gap = static_cast<std::size_t>(found - slots_.data());
    // What follows without a gap was perhaps put there only because its own place was taken.
    for (std::size_t at = Next(gap); slots_[at].hash != 0; at = Next(at)) {
      const std::size_t fromHome = (at - slots_[at].hash) & Mask();
      if (fromHome < ((at - gap) & Mask())) continue;
      slots_[gap] = slots_[at];
      gap = at;
    }
    slots_[gap] = Slot{};
    --count_;
  }

  void Prefetch(std::uint32_t hash) const { __builtin_prefetch(&slots_[Home(hash)]); }

 private:
  static constexpr std::size_t kSmallest = 1024;

  std::size_t Mask() const { return slots_.size() - 1; }
  std::size_t Home(std::uint32_t hash) const { return hash & Mask(); }
  std::size_t Next(std::size_t at) const { return (at + 1) & Mask(); }

  void PutIntoGap(const Slot &slot) {
    std::size_t at = Home(slot.hash);
    while (slots_[at].hash != 0) at = Next(at);
    slots_[at] = slot;
  }

  void Grow() {
    std::vector<Slot> old(2 * slots_.size());
    old.swap(slots_);
    for (const Slot &slot : old) {
      if (slot.hash != 0) PutIntoGap(slot);
    }
  }

  std::vector<Slot> slots_ = std::vector<Slot>(kSmallest);
  std::size_t count_ = 0;
};
