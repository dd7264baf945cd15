#include "platform/linux/packages/property_list.h"
#include "tests/fuzz/fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::string_view list = TextOfInput(data, size);
  for (const char *key : {"CFBundlePackageType", "k", ""}) {
    const std::optional<std::string> value = StringInPropertyList(list, key);
    Require(!value || value->size() <= size, "a string is no longer than the list it is in");
    if (value && list.starts_with("bplist00")) {
      Require(list.find(*value) != list.npos, "a string stands in the list");
    }
  }
  return 0;
}
