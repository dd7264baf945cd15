#include "platform/linux/system/standard_streams.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

void PrepareStandardStreams() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    const int wrongWay = stream == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    if (fcntl(stream, F_GETFD) < 0) (void)open("/dev/null", wrongWay);
  }
  // A handler that does nothing, because signals that are ignored stay so in a program started from
  // here, such as the browser.
  const auto ignore = [](int) {};
  (void)std::signal(SIGPIPE, ignore);
  (void)std::signal(SIGXFSZ, ignore);
}
