#include "platform/linux/packages/property_list.h"

#include <plist/plist.h>

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace {

constexpr std::string_view kBinaryMark = "bplist00";

/// The objects of a binary property list, looked up one by one. The library would build the whole
/// tree, with a copy of an object for each mention of it, and a list of a few hundred bytes can
/// mention one object 2^40 times.
///
/// The layout: the mark; the objects; a table of their offsets; a trailer of 32 bytes that says how
/// wide offsets and references to objects are, how many objects there are, which is the topmost,
/// and where the table begins. All numbers are big-endian.
class CBinaryPropertyList {
 public:
  explicit CBinaryPropertyList(std::string_view data) : data_(data) {
    if (data_.size() < kBinaryMark.size() + kTrailerSize) return;
    const std::size_t trailer = data_.size() - kTrailerSize;
    offsetWidth_ = Number(trailer + 6, 1).value_or(0);
    referenceWidth_ = Number(trailer + 7, 1).value_or(0);
    objectCount_ = Number(trailer + 8, 8).value_or(0);
    topObject_ = Number(trailer + 16, 8).value_or(0);
    offsetTable_ = Number(trailer + 24, 8).value_or(0);
  }

  std::optional<std::string> StringInTopDictionary(std::string_view key) const {
    const std::optional<Object> dictionary = ObjectAt(topObject_);
    if (!dictionary || dictionary->kind != kDictionary) return std::nullopt;
    const std::uint64_t count = dictionary->count;
    if (count > data_.size()) return std::nullopt;
    for (std::uint64_t i = 0; i < count; ++i) {
      const auto keyIndex = Reference(dictionary->content, i);
      if (!keyIndex || AsciiString(*keyIndex) != key) continue;
      const auto valueIndex = Reference(dictionary->content, count + i);
      if (!valueIndex) return std::nullopt;
      if (const auto value = AsciiString(*valueIndex)) return std::string(*value);
      return std::nullopt;
    }
    return std::nullopt;
  }

 private:
  static constexpr std::size_t kTrailerSize = 32;
  static constexpr unsigned kAsciiString = 0x5;
  static constexpr unsigned kDictionary = 0xD;

  struct Object {
    unsigned kind;
    std::uint64_t count;    ///< of characters, or of keys
    std::uint64_t content;  ///< where they begin
  };

  std::optional<std::uint64_t> Number(std::uint64_t at, std::uint64_t width) const {
    if (width == 0 || width > 8 || at > data_.size() || width > data_.size() - at) {
      return std::nullopt;
    }
    std::uint64_t number = 0;
    for (const char byte : data_.substr(at, width)) {
      number = number << 8 | static_cast<unsigned char>(byte);
    }
    return number;
  }

  std::optional<std::uint64_t> Reference(std::uint64_t content, std::uint64_t index) const {
    return Number(content + index * referenceWidth_, referenceWidth_);
  }

  std::optional<Object> ObjectAt(std::uint64_t index) const {
    if (index >= objectCount_ || index >= data_.size() || offsetTable_ >= data_.size()) {
      return std::nullopt;
    }
    const auto offset = Number(offsetTable_ + index * offsetWidth_, offsetWidth_);
    if (!offset) return std::nullopt;
    const auto marker = Number(*offset, 1);
    if (!marker) return std::nullopt;
    Object object{static_cast<unsigned>(*marker >> 4), *marker & 0xF, *offset + 1};
    if (object.count != 0xF) return object;
    // A count from 15 on follows as an integer, whose own marker gives its width as a power of 2.
    const auto countMarker = Number(object.content, 1);
    if (!countMarker || *countMarker >> 4 != 0x1 || (*countMarker & 0xF) > 3) return std::nullopt;
    const std::uint64_t width = 1u << (*countMarker & 0xF);
    const auto count = Number(object.content + 1, width);
    if (!count) return std::nullopt;
    object.count = *count;
    object.content += 1 + width;
    return object;
  }

  std::optional<std::string_view> AsciiString(std::uint64_t index) const {
    const std::optional<Object> object = ObjectAt(index);
    if (!object || object->kind != kAsciiString || object->content > data_.size() ||
        object->count > data_.size() - object->content) {
      return std::nullopt;
    }
    return data_.substr(object->content, object->count);
  }

  std::string_view data_;
  std::uint64_t offsetWidth_ = 0;
  std::uint64_t referenceWidth_ = 0;
  std::uint64_t objectCount_ = 0;
  std::uint64_t topObject_ = 0;
  std::uint64_t offsetTable_ = 0;
};

/// Whether the elements of an XML property list may lie so deep in each other that the library,
/// which descends into them by recursion, runs out of stack.
bool MayBeTooDeep(std::string_view xml) {
  constexpr int kMostContainers = 10'000;
  int containers = 0;
  for (const std::string_view tag : {"<dict", "<array"}) {
    for (std::size_t at = xml.find(tag); at != xml.npos; at = xml.find(tag, at + tag.size())) {
      if (++containers > kMostContainers) return true;
    }
  }
  return false;
}

std::optional<std::string> StringInXml(std::string_view xml, std::string_view key) {
  if (MayBeTooDeep(xml)) return std::nullopt;
  plist_t root = nullptr;
  plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &root);
  if (root == nullptr) return std::nullopt;
  const std::unique_ptr<void, decltype(&plist_free)> owner(root, plist_free);
  if (plist_get_node_type(root) != PLIST_DICT) return std::nullopt;
  plist_t value = plist_dict_get_item(root, std::string(key).c_str());
  if (value == nullptr || plist_get_node_type(value) != PLIST_STRING) return std::nullopt;
  std::uint64_t length = 0;
  const char *text = plist_get_string_ptr(value, &length);
  return text != nullptr ? std::optional(std::string(text, length)) : std::nullopt;
}

}  // namespace

std::optional<std::string> StringInPropertyList(std::string_view data, std::string_view key) {
  if (data.starts_with(kBinaryMark)) return CBinaryPropertyList(data).StringInTopDictionary(key);
  if (data.size() > UINT32_MAX) return std::nullopt;
  return StringInXml(data, key);
}
