#include "platform/workspace.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <set>
#include <string>

#include "platform/utilities.h"

namespace {

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
