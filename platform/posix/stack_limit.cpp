#include "platform/posix/stack_limit.h"

#include <sys/resource.h>

#include <algorithm>

void LetStackGrow() {
  constexpr rlim_t kWanted = 120UL * 1024 * 1024;
  rlimit limit{};
  if (getrlimit(RLIMIT_STACK, &limit) != 0 || limit.rlim_cur >= kWanted) return;
  limit.rlim_cur = std::min(limit.rlim_max, kWanted);
  (void)setrlimit(RLIMIT_STACK, &limit);
}
