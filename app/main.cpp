// vannerly: the program in a window.
#include <cstdio>
#include <cstdlib>

#include "app/start_up.h"
#include "platform/desktop/desktop.h"

int main(int argc, char **argv) {
  if (const auto exitStatus = OpenDesktop(argc, argv)) return *exitStatus;
  const OSStatus status = RunVannerly();
  CloseDesktop();
  if (status == noErr) return EXIT_SUCCESS;
  (void)std::fprintf(stderr, "vannerly: the interface file \"main\" is not complete (error %d)\n",
                     static_cast<int>(status));
  return EXIT_FAILURE;
}
