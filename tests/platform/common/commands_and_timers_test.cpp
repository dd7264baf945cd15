// The order in which handlers are asked and timers fire.
#include <gtest/gtest.h>

#include "platform/apple_events.h"
#include "platform/common/event_dispatch.h"
#include "platform/common/event_queue.h"
#include "platform/common/timers.h"
#include "tests/support/commands.h"
#include "tests/support/recorder.h"
#include "tests/support/temporary_folder.h"

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
    DisarmTimers();
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

TEST(Commands, QuitEndsTheLoopOnlyWhenNobodyConsumesIt) {
  static OSStatus answer = eventNotHandledErr;
  const EventTargetRef target = NewEventTarget();
  const auto handler = [](EventHandlerCallRef, EventRef, void *) { return answer; };
  ASSERT_EQ(InstallEventHandler(target, handler, kCommands, nullptr), noErr);
  ResetRecorder();
  answer = noErr;
  (void)SendCommand(target, kHICommandQuit);
  EXPECT_TRUE(Recorder().Calls().empty());
  answer = eventNotHandledErr;
  (void)SendCommand(target, kHICommandCancel);
  EXPECT_TRUE(Recorder().Calls().empty());
  (void)SendCommand(target, kHICommandQuit);
  EXPECT_EQ(Recorder().Calls(), std::vector<std::string>{"QuitApplicationEventLoop"});
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

namespace {

/// Events for folders called by one letter, and a run that takes them down in `order`.
class EventQueue : public Timers {
 protected:
  EventQueue() {
    queue = this;
    (void)AEInstallEventHandler(
        kCoreEventClass, kAEOpenDocuments,
        [](const AppleEvent &event, AppleEvent *, std::intptr_t) -> OSErr {
          queue->list = event.parameters.at(keyDirectObject);
          Arm(0.001, "", Run);
          return noErr;
        },
        0, false);
    for (const char *name : {"A", "B", "C", "D", "file"}) {
      if (name[1] == '\0') {
        folder.MakeFolder(name);
      } else {
        folder.WriteFile(name);
      }
    }
  }

  OSErr Send(const std::vector<std::string> &names) const {
    std::vector<FSRef> refs(names.size());
    for (std::size_t i = 0; i < names.size(); ++i)
      EXPECT_EQ(FSPathMakeRef(folder.PathOf(names[i]).c_str(), &refs[i], nullptr), noErr);
    return SendOpenDocuments(refs);
  }

  static void Run(EventLoopTimerRef, void *) {
    std::int32_t count = 0;
    (void)AECountItems(queue->list, &count);
    EXPECT_LE(FoldersOfEventInHand(), count);
    order += '(';
    for (std::int32_t i = 1; i <= count; ++i) {
      FSRef item;
      HFSUniStr255 name;
      (void)AEGetNthPtr(queue->list, i, typeFSRef, nullptr, nullptr, &item, sizeof item, nullptr);
      (void)FSGetCatalogInfo(item, kFSCatInfoNone, nullptr, &name, nullptr, nullptr);
      order += static_cast<char>(name.View()[0]);
      if (queue->atItem) queue->atItem(order.back());
    }
    order += ')';
  }

  static void RunEventLoop() { Recorder().RunEventLoop(); }

  void SetUp() override {
    Timers::SetUp();
    ResetRecorder();
  }

  static EventQueue *queue;
  CTemporaryFolder folder;
  AEDescList list;
  std::function<void(char)> atItem;
};
EventQueue *EventQueue::queue;

}  // namespace

TEST_F(EventQueue, EachEventIsHandledOnceAndInOrder) {
  // In a burst, before the first run has begun ...
  EXPECT_EQ(Send({"A"}), noErr);
  EXPECT_EQ(Send({"B"}), noErr);
  EXPECT_EQ(WaitingFolders(), 1);
  // ... and during a run, with what is no folder among them.
  atItem = [this](char name) {
    if (name != 'A') return;
    EXPECT_EQ(Send({"C", "file"}), noErr);
    EXPECT_EQ(Send({"D", "A"}), noErr);
    EXPECT_EQ(WaitingFolders(), 4);
    atItem = nullptr;
  };
  RunEventLoop();
  EXPECT_EQ(order, "(A)(B)(Cf)(DA)");
  EXPECT_EQ(WaitingFolders(), 0);
  EXPECT_EQ(FoldersOfEventInHand(), 0);
  EXPECT_EQ(Send({"B"}), noErr);
  RunEventLoop();
  EXPECT_EQ(order, "(A)(B)(Cf)(DA)(B)");
}

TEST_F(EventQueue, NoOtherTimerFiresOverWhatWaits) {
  // What a run arms, as the timer that quits when all is done, is due long before the last run.
  atItem = [this](char name) {
    Arm(-1, "q");
    if (name < 'C') {
      EXPECT_EQ(Send({std::string(1, static_cast<char>(name + 1))}), noErr);
    }
  };
  EXPECT_EQ(Send({"A"}), noErr);
  RunEventLoop();
  EXPECT_EQ(order, "(A)(B)(C)qqq");
}

TEST_F(EventQueue, NothingThatWaitsIsBegunAfterQuit) {
  atItem = [this](char) {
    EXPECT_EQ(Send({"B"}), noErr);
    (void)SendCommand(nullptr, kHICommandQuit);
    EXPECT_EQ(WaitingFolders(), 0);
    EXPECT_EQ(Send({"C"}), errAEEventNotHandled);
  };
  EXPECT_EQ(Send({"A"}), noErr);
  RunEventLoop();
  EXPECT_EQ(order, "(A)");
  EXPECT_FALSE(NextTimerDue());
}
