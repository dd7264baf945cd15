// Signals as commands, timers, the folders to open, and the exit status.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

#include "platform/apple_events.h"
#include "platform/common/timers.h"
#include "platform/controls.h"
#include "platform/events.h"
#include "platform/preferences.h"
#include "platform/processes.h"
#include "platform/terminal/terminal.h"
#include "platform/windows.h"
#include "tests/support/temporary_folder.h"

namespace {

/// What happened, in order.
std::string events;

OSStatus NoteCommand(EventHandlerCallRef, EventRef event, void *) {
  HICommand command{};
  (void)GetEventParameter(event, kEventParamDirectObject, typeHICommand, sizeof command, &command);
  events += command.commandID == kHICommandCancel ? "stop " : "quit ";
  return command.commandID == kHICommandCancel ? noErr : eventNotHandledErr;
}

OSErr NoteOpening(const AppleEvent &event, AppleEvent *, std::intptr_t) {
  std::int32_t count = 0;
  (void)AECountItems(event.parameters.at(keyDirectObject), &count);
  events += "open" + std::to_string(count) + " ";
  return noErr;
}

void Start() {
  StartTerminal(true);
  (void)InstallEventHandler(GetApplicationEventTarget(), NoteCommand,
                            {kEventClassCommand, kEventCommandProcess}, nullptr);
  (void)AEInstallEventHandler(kCoreEventClass, kAEOpenDocuments, NoteOpening, 0, false);
}

void Yield() {
  (void)WaitNextEvent(0, nullptr, 0, nullptr);
}

void Arm(double delay, EventLoopTimerProc procedure) {
  (void)InstallEventLoopTimer(GetCurrentEventLoop(), delay, 0, procedure, nullptr, nullptr);
}

/// Runs `body`, which adds to `events`, in a child; answers them with the exit status behind.
std::string EventsOf(const std::function<void()> &body) {
  int ends[2];
  EXPECT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  if (child == 0) {
    body();
    (void)!write(ends[1], events.data(), events.size());
    _exit(TerminalExitStatus());
  }
  close(ends[1]);
  char buffer[200];
  std::string output;
  for (ssize_t count; (count = read(ends[0], buffer, sizeof buffer)) > 0;)
    output.append(buffer, static_cast<std::size_t>(count));
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  return output +
         (WIFEXITED(status) ? std::to_string(WEXITSTATUS(status)) : "a signal has ended it");
}

}  // namespace

TEST(Signals, FirstOneQuitsAtTheNextYieldAndCallsDeletionOffAtOnce) {
  struct Case {
    std::vector<int> signals;
    std::string expected;
  };
  for (const Case &given : std::vector<Case>{{{}, "0"},
                                             {{SIGINT}, "kept quit 130"},
                                             {{SIGINT, SIGINT}, "kept quit kept 130"},
                                             {{SIGTERM}, "kept quit 143"},
                                             {{SIGHUP}, "kept quit 129"},
                                             {{SIGINT, SIGTERM}, "kept quit kept 130"},
                                             {{SIGTERM, SIGINT}, "kept quit kept 143"},
                                             {{SIGPIPE, SIGXFSZ}, "deleted deleted 0"}}) {
    EXPECT_EQ(EventsOf([&] {
                Start();
                PreferencesSetValueForThisRun("DeleteEmptiedFolders", true);
                for (const int signal : given.signals) {
                  std::raise(signal);
                  // Nothing is sent before the program yields.
                  events +=
                      CFPreferencesCopyAppValue("DeleteEmptiedFolders") == CFPreferenceValue(false)
                          ? "kept "
                          : "deleted ";
                  Yield();
                }
                Yield();
              }),
              given.expected);
  }
}

TEST(Signals, IgnoredOnesStayIgnored) {
  EXPECT_EQ(EventsOf([] {
              for (const int signal : {SIGINT, SIGHUP}) std::signal(signal, SIG_IGN);
              Start();
              for (const int signal : {SIGINT, SIGHUP}) std::raise(signal);
              Yield();
            }),
            "0");
}

TEST(Signals, OneBeforeTheRunKeepsItFromBeginning) {
  EXPECT_EQ(EventsOf([] {
              Start();
              std::raise(SIGINT);
              Arm(0.001, [](EventLoopTimerRef, void *) { events += "run "; });
              RunApplicationEventLoop();
            }),
            "quit 130");
}

TEST(EventLoop, OpensAllFoldersAtOnceAndEndsWithTheLastTimer) {
  const CTemporaryFolder folder;
  folder.MakeFolder("one");
  folder.MakeFolder("two");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(EventsOf([&] {
              Start();
              if (!TakeOperands({folder.PathOf("one"), folder.PathOf("two")}, false).empty())
                return;
              Arm(0.2, [](EventLoopTimerRef, void *) { events += "late "; });
              Arm(0.001, [](EventLoopTimerRef, void *) {
                Arm(0, [](EventLoopTimerRef, void *) { events += "nested "; });
                Yield();
                events += "early ";
              });
              RunApplicationEventLoop();
            }),
            "open2 early nested late 0");
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
}

TEST(EventLoop, QuitEndsItWhileATimerWaits) {
  EXPECT_EQ(EventsOf([] {
              Start();
              Arm(0.001, [](EventLoopTimerRef, void *) { std::raise(SIGTERM); });
              Arm(60, [](EventLoopTimerRef, void *) { events += "too late "; });
              // The signal arrives while the loop sleeps.
              std::signal(SIGALRM, [](int) { std::raise(SIGTERM); });
              alarm(1);
              RunApplicationEventLoop();
            }),
            "quit 143");
}

TEST(StandardStreams, StatusIsNeverWrittenIntoAFileOfTheUser) {
  const CTemporaryFolder folder;
  folder.WriteFile("precious", "kept");
  EXPECT_EQ(EventsOf([&] {
              close(STDERR_FILENO);
              StartTerminal(false);
              const int file = open(folder.PathOf("precious").c_str(), O_RDWR);
              ReportProblem("nobody reads this");
              events = file > STDERR_FILENO ? "another one " : "standard error ";
            }),
            "another one 0");
  EXPECT_EQ(folder.ReadFile("precious"), "kept");
}
