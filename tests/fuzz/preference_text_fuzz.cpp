#include "platform/linux/preferences/preference_text.h"
#include "tests/fuzz/fuzz.h"

namespace {

CFPreferenceValue ValueFrom(FuzzedDataProvider *input) {
  switch (input->ConsumeIntegralInRange(0, 2)) {
    case 0:
      return input->ConsumeBool();
    case 1:
      return input->ConsumeIntegral<std::int64_t>();
    default:
      return input->ConsumeRandomLengthString(40);
  }
}

PreferenceValues ChangesFrom(FuzzedDataProvider *input) {
  PreferenceValues changes;
  for (int count = input->ConsumeIntegralInRange(0, 2); count > 0; --count) {
    const bool isKnown = input->ConsumeBool();
    std::string key = isKnown ? "Operation" : input->ConsumeRandomLengthString(12);
    changes[std::move(key)] = ValueFrom(input);
  }
  return changes;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  // The provider takes numbers from the end, so that the text stands first and can be read.
  FuzzedDataProvider input(data, size);
  const PreferenceValues changes = ChangesFrom(&input);
  const std::string text = input.ConsumeRemainingBytesAsString();

  PreferenceValues before;
  PreferenceTextError error;
  const bool isUnderstood = ReadPreferenceText(text, &before, &error);
  const std::optional<std::string> edited = EditPreferenceText(text, changes);
  if (!isUnderstood) {
    Require(before.empty(), "a broken text has no values");
    Require(error.line > 0 && !error.reason.empty(), "an error names its line and its reason");
    Require(!edited || changes.empty(), "a broken text is never edited");
    return 0;
  }
  if (!edited) return 0;  // a string that is not UTF-8
  for (const auto &[key, value] : changes) before.insert_or_assign(key, value);
  PreferenceValues after;
  Require(ReadPreferenceText(*edited, &after, nullptr), "an edited text is understood");
  Require(after == before, "an edit changes the values wanted and no other");
  Require(EditPreferenceText(*edited, changes) == edited, "an edit made twice changes nothing");
  return 0;
}
