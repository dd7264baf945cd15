// The event loop of platform/events.h, and its yields.
#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QThread>
#include <QTimer>
#include <chrono>

#include "platform/common/event_queue.h"
#include "platform/common/timers.h"
#include "platform/desktop/doors/bus_service.h"
#include "platform/desktop/windows/control_drawing.h"
#include "platform/desktop/windows/ending_question.h"
#include "platform/desktop/windows/waiting_folders.h"
#include "platform/events.h"
#include "platform/linux/system/coarse_time.h"
#include "platform/linux/system/meanwhile.h"
#include "platform/linux/tree/folder_descriptors.h"

namespace {

/// Nanoseconds; thirty times a second is as often as a text can be read, and a click is answered
/// before a person notices that it was not at once.
constexpr std::int64_t kTimeBetweenLooks = 33'000'000;

bool isQuitting = false;
bool isYielding = false;
std::int64_t lastLook = 0;

/// What a yield does. Not inside a handler that another one has called: that would deliver events
/// out of their order. Outside a run there is nothing to keep alive: the loop itself delivers and
/// draws.
void LookAtEvents() {
  isYielding = true;
  UpdateEndingQuestion();
  ShowWaitingFolders();
  DrawChangedControls();
  QCoreApplication::processEvents();
  isYielding = false;
  lastLook = CoarseTime();
}

bool CanLookAtEvents() {
  return IsTimerFiring() && !isYielding;
}

void LookAtEventsWhenDue() {
  if (CanLookAtEvents() && CoarseTime() - lastLook >= kTimeBetweenLooks) LookAtEvents();
}

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
  static bool IsOuterLoop() {
    return QThread::currentThread()->loopLevel() == 1 && !IsTimerFiring();
  }

  void Arm() {
    const auto due = NextTimerDue();
    if (!due || !IsOuterLoop()) return;
    const auto wait =
        std::max(std::chrono::ceil<std::chrono::milliseconds>(*due - TimerClock::now()),
                 std::chrono::milliseconds(0));
    // One that is armed for a later timer would keep an event waiting that goes before it.
    if (!timer_.isActive() || timer_.remainingTimeAsDuration() > wait) timer_.start(wait);
  }

  static void Fire() {
    // Left over from before a drag's loop began: the outer loop arms it again.
    if (!IsOuterLoop()) return;
    NoteRunAhead();
    FireDueTimers(TimerClock::now());
    UpdateEndingQuestion();
    ShowWaitingFolders();
    // A program that waits keeps no volume from being unmounted.
    CloseFolderDescriptors();
  }

  QTimer timer_;
};

}  // namespace

void RunApplicationEventLoop() {
  if (isQuitting) return;
  WakeUp wakeUp;
  whatGoesOnMeanwhile = LookAtEventsWhenDue;
  (void)QApplication::exec();
}

void QuitApplicationEventLoop() {
  isQuitting = true;
  CloseEventQueue();
  ReleaseBusName();
  QCoreApplication::exit();
}

bool WaitNextEvent(EventMask, EventRecord *, std::uint32_t, RgnHandle) {
  if (IsDrawingUrgent() && CanLookAtEvents()) {
    LookAtEvents();
  } else {
    LookAtEventsWhenDue();
  }
  return false;
}
