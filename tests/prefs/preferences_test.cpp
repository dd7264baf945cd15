#include "prefs/preferences.h"

#include "tests/support/program_test.h"

namespace {

using Preferences = CProgramTest;

TEST_F(Preferences, OperationIsANumberOf16Bits) {
  for (const auto &[stored, operation] : {std::pair{2, 2}, {-3, -3}, {32768, -32768}, {65538, 2}}) {
    SetPreference("Operation", std::int64_t{stored});
    EXPECT_EQ(GetOperation(), operation) << stored;
  }
}

}  // namespace
