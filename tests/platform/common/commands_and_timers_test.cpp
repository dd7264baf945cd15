// The order in which handlers are asked and timers fire.
#include <gtest/gtest.h>

#include "platform/apple_events.h"
#include "platform/common/event_dispatch.h"
#include "platform/common/timers.h"
#include "platform/events.h"
#include "tests/support/recorder.h"

namespace {

/// What handlers and timers have noted, in order.
std::string order;

struct Note {
  char letter;
  OSStatus answer;
};

OSStatus NoteEvent(EventHandlerCallRef, EventRef event, void *userData) {
  const auto *note = static_cast<const Note *>(userData);
  HICommand command{};
  EXPECT_EQ(
      GetEventParameter(event, kEventParamDirectObject, typeHICommand, sizeof command, &command),
      noErr);
  if (command.commandID != FourChars("test")) return eventNotHandledErr;
  order += note->letter;
  return note->answer;
}

constexpr EventTypeSpec kCommands{kEventClassCommand, kEventCommandProcess};

void NoteTimer(EventLoopTimerRef, void *userData) {
  order += *static_cast<const char *>(userData);
}

void Arm(double delay, const char *letter, EventLoopTimerProc procedure = NoteTimer) {
  ASSERT_EQ(InstallEventLoopTimer(GetCurrentEventLoop(), delay, 0, procedure,
                                  const_cast<char *>(letter), nullptr),
            noErr);
}

class Timers : public testing::Test {
 protected:
  void SetUp() override {
    ResetRecorder();
    order.clear();
  }
  void TearDown() override { DisarmTimers(); }
};

}  // namespace

TEST(Commands, GoFromTheLastHandlerOfTheTargetToTheApplication) {
  static Note notes[] = {{'a', noErr},
                         {'b', eventNotHandledErr},
                         {'c', eventNotHandledErr},
                         {'d', noErr},
                         {'e', eventNotHandledErr}};
  const EventTargetRef target = NewEventTarget();
  const EventTargetRef application = GetApplicationEventTarget();
  const auto install = [](EventTargetRef where, Note &note) {
    ASSERT_EQ(InstallEventHandler(where, NoteEvent, kCommands, &note), noErr);
  };
  order.clear();
  EXPECT_EQ(SendCommand(target, FourChars("test")), eventNotHandledErr);
  install(application, notes[0]);
  install(application, notes[1]);
  install(target, notes[2]);
  EXPECT_EQ(SendCommand(target, FourChars("test")), noErr);
  EXPECT_EQ(order, "cba");
  order.clear();
  EXPECT_EQ(SendCommand(nullptr, FourChars("test")), noErr);
  EXPECT_EQ(order, "ba");
  order.clear();
  install(target, notes[3]);
  install(target, notes[4]);
  ASSERT_EQ(InstallEventHandler(target, NoteEvent, {kEventClassCommand, 2}, &notes[2]), noErr);
  EXPECT_EQ(SendCommand(target, FourChars("test")), noErr);
  EXPECT_EQ(order, "ed") << "a consumed command goes no further, another kind is not asked";
  DisposeEventTarget(target);
}

TEST(Commands, HandlerMayDisposeOfItsOwnTarget) {
  static EventTargetRef target;
  target = NewEventTarget();
  const auto close = [](EventHandlerCallRef, EventRef, void *) -> OSStatus {
    DisposeEventTarget(target);
    return eventNotHandledErr;
  };
  ASSERT_EQ(InstallEventHandler(target, close, kCommands, nullptr), noErr);
  EXPECT_EQ(SendCommand(target, FourChars("clos")), eventNotHandledErr);
}

TEST_F(Timers, FireWhenDueInTheirOrder) {
  const auto start = TimerClock::now();
  Arm(2, "c");
  Arm(1, "a");
  Arm(1, "b");
  Arm(-1, "0");
  EXPECT_LE(*NextTimerDue(), TimerClock::now());
  FireDueTimers(start);
  EXPECT_EQ(order, "") << "not before its time";
  FireDueTimers(TimerClock::now());
  EXPECT_EQ(order, "0");
  EXPECT_NEAR(std::chrono::duration<double>(*NextTimerDue() - start).count(), 1, 0.5);
  FireDueTimers(start + std::chrono::seconds(10));
  EXPECT_EQ(order, "0abc") << "each once";
  EXPECT_FALSE(NextTimerDue());
  EXPECT_EQ(InstallEventLoopTimer(GetCurrentEventLoop(), 1, 1, NoteTimer, nullptr, nullptr),
            paramErr);
}

TEST_F(Timers, OneArmedByACallbackWaitsForTheNextTurn) {
  const auto arming = [](EventLoopTimerRef, void *) {
    order += 'x';
    Arm(-1, "n");
  };
  Arm(0.001, "", arming);
  Arm(0.002, "y");
  const auto later = TimerClock::now() + std::chrono::seconds(1);
  FireDueTimers(later);
  EXPECT_EQ(order, "xy");
  FireDueTimers(later);
  EXPECT_EQ(order, "xyn");
}

TEST_F(Timers, NoEventThatWaitsIsHandedOverAfterQuit) {
  const auto arming = [](const AppleEvent &, AppleEvent *, std::intptr_t) -> OSErr {
    Arm(0.001, "r");
    return noErr;
  };
  ASSERT_EQ(AEInstallEventHandler(kCoreEventClass, kAEOpenDocuments, arming, 0, false), noErr);
  EXPECT_EQ(SendDocuments(kAEOpenDocuments, {}), noErr);
  EXPECT_EQ(SendDocuments(kAEOpenDocuments, {}), noErr);
  (void)SendCommand(nullptr, kHICommandQuit);
  EXPECT_EQ(SendDocuments(kAEOpenDocuments, {}), errAEEventNotHandled);
  while (const auto due = NextTimerDue()) FireDueTimers(*due);
  EXPECT_EQ(order, "r") << "the one in hand";
}
