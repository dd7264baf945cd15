/// Runs a command and writes "SECONDS PEAK_KILOBYTES STATUS" to a file.
///
///   measure FILE COMMAND [ARGUMENT...]
///
/// A process that has been forked reports at least the peak memory of the one that forked it; this
/// one is small enough not to show.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

int main(int argumentCount, char **arguments) {
  if (argumentCount < 3) return 2;
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child < 0) return 1;
  if (child == 0) {
    execvp(arguments[2], arguments + 2);
    std::perror(arguments[2]);
    _exit(127);
  }
  int status = 0;
  rusage usage;
  if (wait4(child, &status, 0, &usage) != child) return 1;
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::FILE *result = std::fopen(arguments[1], "w");
  if (result == nullptr) return 1;
  std::fprintf(result, "%.6f %ld %d\n", seconds.count(), usage.ru_maxrss,
               WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
  return std::fclose(result) == 0 ? 0 : 1;
}
