#include "platform/desktop/event_loop.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QThread>
#include <QTimer>
#include <chrono>

#include "platform/common/timers.h"
#include "platform/desktop/bus_service.h"
#include "platform/desktop/control_drawing.h"
#include "platform/events.h"
#include "platform/posix/coarse_time.h"
#include "platform/posix/folder_descriptors.h"

namespace {

/// Nanoseconds; thirty times a second is as often as a text can be read, and a click is answered
/// before a person notices that it was not at once.
constexpr std::int64_t kTimeBetweenLooks = 33'000'000;

bool isQuitting = false;
bool isFiring = false;
bool isYielding = false;
std::int64_t lastLook = 0;

/// Wakes the loop up when the next timer is due. One-shot, and armed from the outer loop only: a
/// run's yields, and the loops of drags that Qt runs inside this one, find it unarmed.
class WakeUp {
 public:
  WakeUp() {
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [] { Fire(); });
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock,
                     &timer_, [this] {
                       DrawChangedControls();
                       Arm();
                     });
  }

 private:
  static bool IsOuterLoop() { return QThread::currentThread()->loopLevel() == 1 && !isFiring; }

  void Arm() {
    const auto due = NextTimerDue();
    if (!due || !IsOuterLoop() || timer_.isActive()) return;
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(*due - TimerClock::now());
    timer_.start(std::max(wait, std::chrono::milliseconds(0)));
  }

  static void Fire() {
    // Left over from before a drag's loop began: the outer loop arms it again.
    if (!IsOuterLoop()) return;
    isFiring = true;
    FireDueTimers(TimerClock::now());
    isFiring = false;
    // A program that waits keeps no volume from being unmounted.
    CloseFolderDescriptors();
  }

  QTimer timer_;
};

}  // namespace

bool IsWorkInHand() {
  return isFiring;
}

bool IsQuitting() {
  return isQuitting;
}

void RunApplicationEventLoop() {
  if (isQuitting) return;
  WakeUp wakeUp;
  (void)QApplication::exec();
}

void QuitApplicationEventLoop() {
  isQuitting = true;
  ReleaseBusName();
  QCoreApplication::exit();
}

bool WaitNextEvent(EventMask, EventRecord *, std::uint32_t, RgnHandle) {
  // Outside a run there is nothing to keep alive: the loop itself delivers and draws. Inside a
  // handler that a yield has called, another yield would deliver events out of their order.
  if (!isFiring || isYielding) return false;
  if (CoarseTime() - lastLook < kTimeBetweenLooks) return false;
  isYielding = true;
  DrawChangedControls();
  QCoreApplication::processEvents();
  isYielding = false;
  lastLook = CoarseTime();
  return false;
}
