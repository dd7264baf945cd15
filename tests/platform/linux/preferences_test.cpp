#include "platform/preferences.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "platform/linux/preferences/preference_domain.h"
#include "tests/support/temporary_folder.h"

namespace {

std::vector<std::string> problems;

class Preferences : public testing::Test {
 protected:
  void SetUp() override {
    setenv("XDG_CONFIG_HOME", folder_.PathOf("user").c_str(), 1);
    setenv("XDG_CONFIG_DIRS",
           (folder_.PathOf("system") + ":not/absolute:" + folder_.PathOf("fallback")).c_str(), 1);
    BeginAnew();
  }
  void TearDown() override { ForgetPreferences(); }

  /// What a new process would begin with.
  static void BeginAnew() {
    ForgetPreferences();
    problems.clear();
    PreferencesSetProblemHandler([](const std::string &problem) { problems.push_back(problem); });
  }

  /// Waits until a synchronize looks at the files again.
  static void WaitForNextLook() {
    constexpr timespec kPause{0, 10'000'000};
    nanosleep(&kPause, nullptr);
  }

  static void ExpectValue(std::string_view key, const CFPreferenceValue &value,
                          PreferenceSource source) {
    EXPECT_EQ(CFPreferencesCopyAppValue(key), value) << key;
    EXPECT_EQ(PreferencesSourceOfAppValue(key), source) << key;
  }

  /// Has a file of this text changed, and returns what it then holds.
  std::string Edited(std::string_view text, std::string_view key, const CFPreferenceValue &value) {
    folder_.WriteFile(kUserFile, text);
    BeginAnew();
    CFPreferencesSetAppValue(key, value);
    EXPECT_TRUE(CFPreferencesAppSynchronize());
    return folder_.ReadFile(kUserFile);
  }

  static constexpr std::string_view kUserFile = "user/vannerly/preferences.toml";
  CTemporaryFolder folder_;
};

using Source = PreferenceSource;

TEST_F(Preferences, SynchronizeSeesEveryChangeOfTheFile) {
  EXPECT_EQ(CFPreferencesCopyAppValue("Operation"), std::nullopt);
  // Rewritten in place, the same size, so quickly that the file's times need not change.
  for (int round = 0; round < 20; ++round) {
    for (const std::int64_t number : {1, 2}) {
      folder_.WriteFile(kUserFile, "Operation = " + std::to_string(number) + "\n");
      if (number == 1) CFPreferencesAppSynchronize();
    }
    WaitForNextLook();
    EXPECT_TRUE(CFPreferencesAppSynchronize());
    ASSERT_EQ(CFPreferencesCopyAppValue("Operation"), CFPreferenceValue(std::int64_t{2}));
  }
  folder_.Remove(kUserFile);
  WaitForNextLook();
  EXPECT_TRUE(CFPreferencesAppSynchronize());
  EXPECT_EQ(CFPreferencesCopyAppValue("Operation"), std::nullopt);
}

TEST_F(Preferences, AFileEditedByHandKeepsAllButTheValueThatWasSet) {
  EXPECT_EQ(Edited("\xEF\xBB\xBF# mine é\r\nOperation = 2 # why\r\nOther = [1,\r\n 2]\r\n",
                   "Operation", std::int64_t{1}),
            "\xEF\xBB\xBF# mine é\r\nOperation = 1 # why\r\nOther = [1,\r\n 2]\r\n");
  EXPECT_EQ(Edited("# top\na = \"\"\"x\n[y]\n\"\"\" # end\n\n[t] # table\nA = 1\n", "A", true),
            "# top\na = \"\"\"x\n[y]\n\"\"\" # end\nA = true\n\n[t] # table\nA = 1\n");
  EXPECT_EQ(Edited("[t]\nA = nan\n", "A", true), "A = true\n[t]\nA = nan\n");
  EXPECT_EQ(Edited("# only a comment", "A", true), "# only a comment\nA = true\n");
  EXPECT_EQ(Edited("A = 1", "B", std::string("q\"\\\n")), "A = 1\nB = '''q\"\\\n'''\n");
  EXPECT_EQ(Edited("A = {x = 1, y = [2]} # c\n", "A", false), "A = false # c\n");
  EXPECT_EQ(Edited("A = true\n", "A", true), "A = true\n");
  // A table of the preference's name cannot be edited in place; the rest must still survive.
  EXPECT_NE(Edited("B = 'b'\n[A]\nx = 1\n", "A", true).find("B = 'b'"), std::string::npos);
  BeginAnew();
  ExpectValue("A", true, Source::kUser);
}

TEST_F(Preferences, ChangesOfTwoProcessesAreBothKept) {
  constexpr int kRounds = 20;
  std::vector<pid_t> writers;
  for (const char *name : {"a", "b", "c"}) {
    const pid_t writer = fork();
    if (writer == 0) {
      BeginAnew();
      bool isKept = true;
      for (int i = 0; i < kRounds; ++i) {
        CFPreferencesSetAppValue(name + std::to_string(i), std::int64_t{i});
        isKept = CFPreferencesAppSynchronize() && isKept;
      }
      _exit(isKept ? 0 : 1);
    }
    writers.push_back(writer);
  }
  for (const pid_t writer : writers) {
    int status = -1;
    waitpid(writer, &status, 0);
    EXPECT_EQ(status, 0);
  }
  BeginAnew();
  for (const char *name : {"a", "b", "c"}) {
    for (int i = 0; i < kRounds; ++i) {
      ExpectValue(name + std::to_string(i), std::int64_t{i}, Source::kUser);
    }
  }
  EXPECT_EQ(folder_.Tree("user").size(), 2u) << "something was left beside the file";
}

TEST_F(Preferences, ABrokenFileIsReportedOnceAndCopiedBeforeItIsOverwritten) {
  const std::string path = folder_.PathOf(kUserFile);
  for (const std::string broken : {"A = 1\nB = = 2\n", "[[[[", "é = 1", "A = \"\xFF\"", "A = [[[",
                                   "A = 1\nA = 2\n", "a.", "A = {"}) {
    if (folder_.Exists("user")) folder_.Remove("user");
    folder_.WriteFile("user/vannerly/preferences.toml.broken", "older");
    folder_.WriteFile(kUserFile, broken);
    BeginAnew();
    EXPECT_EQ(CFPreferencesCopyAppValue("A"), std::nullopt) << broken;
    WaitForNextLook();
    EXPECT_TRUE(CFPreferencesAppSynchronize());
    ASSERT_EQ(problems.size(), 1u) << broken;
    const std::string place = path + (broken.starts_with("A = 1\n") ? ":2: " : ":1: ");
    EXPECT_TRUE(problems[0].starts_with(place)) << problems[0];
    EXPECT_EQ(folder_.ReadFile(kUserFile), broken);

    CFPreferencesSetAppValue("C", true);
    EXPECT_TRUE(CFPreferencesAppSynchronize());
    EXPECT_EQ(folder_.ReadFile(kUserFile), "C = true\n");
    EXPECT_EQ(folder_.ReadFile("user/vannerly/preferences.toml.broken"), "older");
    EXPECT_EQ(folder_.ReadFile("user/vannerly/preferences.toml.broken-2"), broken);
  }
}

TEST_F(Preferences, NewFilesAreTheUsersOwnAndOldOnesKeepTheirModeAndTheirLink) {
  struct stat status;
  Edited("A = 1\n", "A", true);
  chmod(folder_.PathOf(kUserFile).c_str(), 0640);
  Edited("A = 1\n", "A", true);
  ASSERT_EQ(stat(folder_.PathOf(kUserFile).c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0640u);

  folder_.Remove("user");
  folder_.MakeSymbolicLink(kUserFile, "../../dotfiles/new/p.toml");
  BeginAnew();
  CFPreferencesSetAppValue("A", true);
  EXPECT_TRUE(CFPreferencesAppSynchronize());
  ASSERT_EQ(lstat(folder_.PathOf(kUserFile).c_str(), &status), 0);
  EXPECT_TRUE(S_ISLNK(status.st_mode));
  EXPECT_EQ(folder_.ReadFile("dotfiles/new/p.toml"), "A = true\n");
  ASSERT_EQ(stat(folder_.PathOf(kUserFile).c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
  ASSERT_EQ(stat(folder_.PathOf("dotfiles/new").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700u);
}

TEST_F(Preferences, WhatCannotBeWrittenIsKeptAndReportedOnce) {
  folder_.MakeFolder(kUserFile);  // a folder stands where the file belongs
  BeginAnew();
  CFPreferencesSetAppValue("A", true);
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(CFPreferencesAppSynchronize());
  ExpectValue("A", true, Source::kUser);
  EXPECT_EQ(problems.size(), 2u) << "one for reading, one for writing";
  folder_.Remove(kUserFile);
  CFPreferencesSetAppValue("B", false);
  EXPECT_TRUE(CFPreferencesAppSynchronize());
  EXPECT_EQ(folder_.ReadFile(kUserFile), "A = true\nB = false\n");

  const int other = open(folder_.PathOf("user/vannerly").c_str(), O_RDONLY | O_DIRECTORY);
  ASSERT_EQ(flock(other, LOCK_EX), 0);
  CFPreferencesSetAppValue("A", false);
  EXPECT_FALSE(CFPreferencesAppSynchronize());
  EXPECT_EQ(folder_.ReadFile(kUserFile), "A = true\nB = false\n");
  close(other);
}

TEST_F(Preferences, WhatWasSetIsWrittenWhenTheProcessEnds) {
  const pid_t process = fork();
  if (process == 0) {
    BeginAnew();
    CFPreferencesSetAppValue("Operation", std::int64_t{2});
    const pid_t child = fork();
    if (child == 0) std::exit(0);  // what its parent has set is not its own to write
    waitpid(child, nullptr, 0);
    if (folder_.Exists(kUserFile)) _exit(1);
    std::exit(0);
  }
  int status = -1;
  waitpid(process, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(folder_.ReadFile(kUserFile), "Operation = 2\n");
}

}  // namespace
