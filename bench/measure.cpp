/// Runs a command and writes "START SECONDS CPU PEAK STATUS" to a file: the time of day in
/// nanoseconds when it was started, what passed until it had ended, its processor time (user and
/// system, with the processes it has waited for) in seconds, its peak memory in kilobytes and its
/// exit status. START is read from the clock that files get their times from, which ticks some
/// hundred times a second: no change of the command's can be older.
///
///   measure FILE COMMAND [ARGUMENT...]
///
/// A process that has been forked reports at least the peak memory of the one that forked it; this
/// one is small enough not to show.

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>

namespace {

double Seconds(const timeval &time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

}  // namespace

int main(int argumentCount, char **arguments) {
  if (argumentCount < 3) return 2;
  timespec timeOfDay;
  if (clock_gettime(CLOCK_REALTIME_COARSE, &timeOfDay) != 0) return 1;
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child < 0) return 1;
  if (child == 0) {
    (void)prctl(PR_SET_PDEATHSIG, SIGTERM);  // A window would stay for ever.
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
  (void)std::fprintf(result, "%lld %.6f %.6f %ld %d\n",
                     timeOfDay.tv_sec * 1'000'000'000LL + timeOfDay.tv_nsec, seconds.count(),
                     Seconds(usage.ru_utime) + Seconds(usage.ru_stime), usage.ru_maxrss,
                     WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
  return std::fclose(result) == 0 ? 0 : 1;
}
