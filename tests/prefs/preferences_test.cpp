#include "prefs/preferences.h"

#include "prefs/preference_settings.h"
#include "tests/support/program_test.h"

namespace {

using Preferences = CProgramTest;

TEST_F(Preferences, EmptyStoreGivesTheDefaults) {
  EXPECT_EQ(GetOperation(), 1);
  EXPECT_FALSE(GetQuitWhenDone());
  EXPECT_TRUE(GetIgnoreApplications());
  EXPECT_TRUE(GetRenameDuplicates());
  EXPECT_FALSE(GetDeleteEmptiedFolders());
  EXPECT_FALSE(GetAggregateFilesWhenDone());
}

TEST_F(Preferences, WrongTypesGiveTheDefaults) {
  SetPreference("Operation", std::string("2"));
  SetPreference("RenameDuplicates", std::int64_t{0});
  SetPreference("DeleteEmptiedFolders", std::int64_t{1});
  SetPreference("IgnoreApplications", std::string("false"));
  EXPECT_EQ(GetOperation(), 1);
  EXPECT_TRUE(GetRenameDuplicates());
  EXPECT_FALSE(GetDeleteEmptiedFolders());
  EXPECT_TRUE(GetIgnoreApplications());
  SetPreference("Operation", true);
  EXPECT_EQ(GetOperation(), 1);
}

TEST_F(Preferences, EachGetterReadsItsOwnKeyAfresh) {
  SetPreference("QuitWhenDone", true);
  SetPreference("IgnoreApplications", false);
  SetPreference("RenameDuplicates", false);
  SetPreference("DeleteEmptiedFolders", true);
  SetPreference("AggregateFilesWhenDone", true);
  EXPECT_TRUE(GetQuitWhenDone());
  EXPECT_FALSE(GetIgnoreApplications());
  EXPECT_FALSE(GetRenameDuplicates());
  EXPECT_TRUE(GetDeleteEmptiedFolders());
  EXPECT_TRUE(GetAggregateFilesWhenDone());
  SetPreference("DeleteEmptiedFolders", false);
  EXPECT_FALSE(GetDeleteEmptiedFolders());

  // Operation is a number of 16 bits, so only the low ones of a larger number count.
  for (const auto &[stored, operation] : {std::pair{2, 2}, {-3, -3}, {32768, -32768}, {65538, 2}}) {
    SetPreference("Operation", std::int64_t{stored});
    EXPECT_EQ(GetOperation(), operation) << stored;
  }
}

TEST_F(Preferences, ListingSaysWhatIsInEffectAndWhereItComesFrom) {
  SetPreference("Operation", std::string("none"));
  SetPreference("DeleteEmptiedFolders", true);
  PreferencesSetValueForThisRun("QuitWhenDone", true);
  std::string listing;
  for (const PreferenceSetting &setting : ListPreferences()) {
    listing.append(setting.key).append("=").append(setting.value);
    listing += " " + std::to_string(static_cast<int>(setting.source)) + "\n";
  }
  EXPECT_EQ(listing,
            "Operation=1 3\nQuitWhenDone=true 0\nIgnoreApplications=true 3\n"
            "RenameDuplicates=true 3\nDeleteEmptiedFolders=true 1\n"
            "AggregateFilesWhenDone=false 3\n");
}

TEST_F(Preferences, AssignmentsAreTakenOnlyWhenTheyAreRight) {
  std::string problem;
  const auto number = ParsePreferenceAssignment("Operation=-7", &problem);
  ASSERT_TRUE(number);
  EXPECT_EQ(number->key.name, "Operation");
  EXPECT_EQ(number->value, CFPreferenceValue(std::int64_t{-7}));
  const auto boolean = ParsePreferenceAssignment("RenameDuplicates=false", &problem);
  ASSERT_TRUE(boolean);
  EXPECT_EQ(boolean->key.name, "RenameDuplicates");
  EXPECT_EQ(boolean->value, CFPreferenceValue(false));

  for (const char *wrong : {"", "Operation", "=1", "operation=1", "Operation=", "Operation=3x",
                            "Operation=32768", "Operation=true", "QuitWhenDone=1",
                            "QuitWhenDone=", "DeleteEmptiedFolders=True", "Unknown=true"}) {
    problem.clear();
    EXPECT_FALSE(ParsePreferenceAssignment(wrong, &problem)) << wrong;
    EXPECT_FALSE(problem.empty()) << wrong;
  }
}

}  // namespace
