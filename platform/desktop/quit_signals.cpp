#include "platform/desktop/quit_signals.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <QApplication>
#include <QSocketNotifier>
#include <cerrno>
#include <cstdint>

#include "platform/desktop/windows/ending_question.h"
#include "platform/linux/system/ending.h"

namespace {

int wakeUp = -1;

void NoteSignal(int) {
  const int savedError = errno;
  const std::uint64_t one = 1;
  (void)!write(wakeUp, &one, sizeof one);
  errno = savedError;
}

}  // namespace

void CatchQuitSignals() {
  // The session's end: it waits for the answer to no question.
  QObject::connect(qApp, &QGuiApplication::commitDataRequest, qApp, [] { EndWithoutAsking(); });

  wakeUp = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (wakeUp < 0) return;
  auto *notifier = new QSocketNotifier(wakeUp, QSocketNotifier::Read, qApp);
  QObject::connect(notifier, &QSocketNotifier::activated, notifier, [] {
    std::uint64_t count;
    (void)!read(wakeUp, &count, sizeof count);
    EndWithoutAsking();
  });

  CatchEndingSignals(NoteSignal);
}
