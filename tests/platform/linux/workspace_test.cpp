#include "platform/workspace.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

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

}  // namespace
