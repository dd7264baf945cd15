#include "platform/linux/system/capabilities.h"

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>

bool HasCapability(int capability) {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> sets{};
  if (syscall(SYS_capget, &header, sets.data()) != 0) return false;
  const auto number = static_cast<unsigned>(capability);
  return number / 32 < sets.size() && (sets[number / 32].effective >> number % 32 & 1) != 0;
}
