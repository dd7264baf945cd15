#include "platform/workspace.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <set>
#include <string>

#include "platform/posix/tree_changes.h"
#include "platform/utilities.h"
#include "tests/support/temporary_folder.h"

namespace {

class Workspace : public testing::Test {
 protected:
  void TearDown() override { SetTreeChangeFault(nullptr); }

  OSStatus Move(std::string_view source, std::string_view destination,
                const std::vector<std::string> &files,
                std::string_view operation = NSWorkspaceMoveOperation) const {
    int tag = 7;
    const bool isDone = NSWorkspace::sharedWorkspace().performFileOperation(
        operation, folder_.PathOf(source), folder_.PathOf(destination), files, &tag);
    EXPECT_EQ(isDone, tag == noErr);
    return tag;
  }

  CTemporaryFolder folder_;
};

TEST_F(Workspace, MovesWithoutEverReplacing) {
  folder_.WriteFile("from/folder/x", "2");
  folder_.WriteFile("from/taken", "new");
  folder_.WriteFile("from/later", "3");
  folder_.WriteFile("to/taken", "old");
  folder_.MakeSymbolicLink("elsewhere", "to");
  EXPECT_EQ(Move("from", "to", {"folder"}), noErr);
  EXPECT_EQ(Move("from", "to", {"taken", "later"}), dupFNErr);
  EXPECT_EQ(Move("from", "to", {"missing"}), fnfErr);
  EXPECT_EQ(Move("from", "to/taken", {"later"}), dirNFErr);
  EXPECT_EQ(Move("from", "elsewhere", {"later"}), dirNFErr);
  EXPECT_EQ(Move("from", "to", {"later"}, "destroy"), paramErr);
  for (const char *name : {"", ".", "..", "../from/later"}) {
    EXPECT_EQ(Move("from", "to", {name}), paramErr) << name;
  }
  EXPECT_EQ(folder_.Tree(), (CTemporaryFolder::Contents{
                                {"elsewhere", "-> to"},
                                {"from/", ""},
                                {"from/later", "3"},
                                {"from/taken", "new"},
                                {"to/", ""},
                                {"to/folder/", ""},
                                {"to/folder/x", "2"},
                                {"to/taken", "old"},
                            }));
}

/// What NSLog writes to standard error when that is a terminal.
std::string LoggedOnTerminal(const char *text) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  EXPECT_TRUE(grantpt(terminal) == 0 && unlockpt(terminal) == 0);
  const int screen = open(ptsname(terminal), O_RDWR | O_NOCTTY);
  const int kept = dup(STDERR_FILENO);
  dup2(screen, STDERR_FILENO);
  NSLog("got %s!", text);
  dup2(kept, STDERR_FILENO);
  close(kept);
  char buffer[1000];
  const ssize_t count = read(terminal, buffer, sizeof buffer);
  close(screen);
  close(terminal);
  return {buffer, count > 0 ? static_cast<std::size_t>(count) : 0};
}

TEST(Log, ALineCannotBeMoreThanText) {
  EXPECT_EQ(LoggedOnTerminal("%s%n caf\xC3\xA9"), "vannerly: got %s%n caf\xC3\xA9!\r\n");
  EXPECT_EQ(LoggedOnTerminal("a\n\x1B[2J\x7F\xC2\x9B\xC2\xA9"),
            "vannerly: got a\\x0A\\x1B[2J\\x7F\xC2\\x9B\xC2\xA9!\r\n");
}

TEST(Identifiers, AreRandomOnes) {
  std::set<std::u16string> seen;
  for (int i = 0; i < 1000; ++i) {
    const auto uuid = CFUUIDCreate();
    ASSERT_TRUE(uuid.has_value());
    const std::u16string text = CFUUIDCreateString(*uuid);
    EXPECT_EQ(text[14], u'4');
    EXPECT_NE(std::u16string_view(u"89AB").find(text[19]), std::u16string_view::npos);
    EXPECT_TRUE(seen.insert(text).second);
  }
}

TEST(Time, CountsFrom1904) {
  std::uint32_t seconds = 0;
  GetDateTime(&seconds);
  EXPECT_NEAR(static_cast<double>(seconds - 2082844800u),
              static_cast<double>(static_cast<std::uint32_t>(std::time(nullptr))), 2);
}

}  // namespace
