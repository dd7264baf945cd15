// What a person sees of a run on a terminal, in a pipe, and with nothing to be shown.
#include <gtest/gtest.h>

#include <chrono>
#include <string_view>
#include <thread>

#include "platform/controls.h"
#include "platform/terminal/terminal.h"
#include "platform/windows.h"
#include "platform/workspace.h"
#include "tests/platform/terminal/terminal_session.h"

namespace {

using namespace std::string_literals;
using Lines = std::vector<std::string>;

/// The program's window, driven the way a run does it.
class Window {
 public:
  explicit Window(bool isQuiet = false) {
    StartTerminal(isQuiet);
    IBNibRef nib = nullptr;
    (void)CreateNibReference("main", &nib);
    (void)CreateWindowFromNib(nib, "MainWindow", &window_);
  }

  ControlRef Control(std::int32_t id) {
    ControlRef control = nullptr;
    (void)GetControlByID(window_, {FourChars("CNTL"), id}, &control);
    return control;
  }

  void Say(std::int32_t id, const std::string &text) {
    (void)SetControlData(Control(id), kControlEntireControl, kControlStaticTextTextTag, text.size(),
                         text.data());
    Draw1Control(Control(id));
    Yield();
  }

  static void Yield() { (void)WaitNextEvent(0, nullptr, 0, nullptr); }

  void BeginFolder(const std::u16string &title) {
    (void)SetWindowTitleWithCFString(window_, title);
    ShowControl(Control(2));
    HideControl(Control(4));
    Say(1, "Counting files in folder...");
  }

  void ShowBar() {
    SetControlMaximum(Control(5), 32767);
    SetControlMinimum(Control(5), 0);
    ShowControl(Control(5));
    ShowControl(Control(6));
  }

  void Collect(int count) {
    Say(1, "Collecting files in folder...");
    ShowBar();
    for (int file = 1; file <= count; ++file) Say(6, Counter(file, count));
    HideControl(Control(5));
    HideControl(Control(6));
  }

  void Move(const std::string &name, int file, int count) {
    ShowBar();
    Say(1, "Moving File: " + name);
    Say(6, Counter(file, count));
    SetControlValue(Control(5), static_cast<std::int16_t>((file - 1) * 32767L / count));
  }

  void EndFolder() {
    HideControl(Control(5));
    for (int times = 0; times < 2; ++times) Say(1, "Collating files...");
    HideControl(Control(2));
    ShowControl(Control(4));
    Say(6, "Elapsed time: 0 secs ");
    Say(1, "Drop a folder on the application or this window to flatten it.");
  }

  void FlattenAll(const std::vector<int> &counts) {
    for (const int count : counts) {
      BeginFolder(u"photos");
      if (count > 0) Collect(count);
      for (int file = 1; file <= count; ++file) Move("wait...", file, count);
      EndFolder();
    }
    Say(1, "Bye.");
  }

 private:
  static std::string Counter(int file, int count) {
    return "(" + std::to_string(file) + " of " + std::to_string(count) + ")";
  }

  WindowRef window_ = nullptr;
};

}  // namespace

TEST(StatusView, RunLeavesItsTitleCounterAndTime) {
  const auto session = RunOnTerminal(80, [] {
    Window().FlattenAll({3, 0, 1});
    return TerminalExitStatus();
  });
  EXPECT_EQ(session.status, 0);
  EXPECT_EQ(session.Screen(80),
            (Lines{"photos", "(3 of 3)", "Elapsed time: 0 secs ", "photos", "Elapsed time: 0 secs ",
                   "photos", "(1 of 1)", "Elapsed time: 0 secs "}));
}

TEST(StatusView, QuietRunShowsNothingButProblems) {
  const auto quietly = [] {
    Window(true).FlattenAll({2, 0});
    NSBeep();
    ReportProblem("a\nb\x1b");
    return 0;
  };
  EXPECT_EQ(RunOnPipe(quietly).output, "vannerly-cli: a?b?\n");
  EXPECT_EQ(RunOnTerminal(80, quietly).output, "vannerly-cli: a?b?\r\n");
}

TEST(StatusView, TerminalShowsTheFileInHandAndTheBar) {
  const auto during = [](const std::string &name, const std::u16string &title = u"photos") {
    return [name, title] {
      Window window;
      window.BeginFolder(title);
      window.Collect(4);
      window.Move("a.txt", 3, 4);
      window.Move(name, 4, 4);
      std::this_thread::sleep_for(std::chrono::milliseconds(30));
      Window::Yield();
      return 0;
    };
  };
  const std::string bar = "[" + std::string(23, '#') + std::string(9, '.') + "]";
  // Mac Roman: 0x8E is an accented e, 0xC9 an ellipsis.
  EXPECT_EQ(RunOnTerminal(34, during("caf\x8E\xC9.txt")).Screen(34),
            (Lines{"photos", "Moving File: caf\u00e9\u2026.txt", "(4 of 4)", bar}));
  EXPECT_EQ(RunOnTerminal(34, during(std::string(200, 'x'))).Screen(34).at(1),
            "Moving File: " + std::string(21, 'x'));
  for (unsigned short columns = 1; columns < 12; ++columns)
    EXPECT_NO_THROW((void)RunOnTerminal(columns, during("name", u"p")).Screen(columns)) << columns;
}

TEST(StatusView, ManyFilesAreDrawnAtMostSixtyTimesASecond) {
  const auto start = std::chrono::steady_clock::now();
  const auto session = RunOnTerminal(80, [] {
    Window window;
    window.BeginFolder(u"photos");
    window.Collect(1);
    for (int file = 1; file <= 300000; ++file)
      window.Move("file " + std::to_string(file), file, 300000);
    window.EndFolder();
    return 0;
  });
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  double drawings = 0;
  for (std::size_t at = 0; (at = session.output.find("Moving File", at)) != std::string::npos; ++at)
    ++drawings;
  EXPECT_GE(drawings, 2);
  EXPECT_LE(drawings, seconds * 60 + 2);
  EXPECT_EQ(session.Screen(80), (Lines{"photos", "(300000 of 300000)", "Elapsed time: 0 secs "}));
}

TEST(StatusView, NamesCannotDriveTheTerminal) {
  const std::u16string title =
      u"a\x1b]0;b\x07\n\x9b"
      u"c\x7f\xdc9b\xd83d\xde00\x202e\xd800";
  const auto session = RunOnTerminal(80, [&] {
    Window window;
    window.BeginFolder(title);
    window.Collect(1);
    window.Move("\x1b[2J\r\n\t\x7f.txt", 1, 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    Window::Yield();
    return 0;
  });
  const Lines screen = session.Screen(80);
  ASSERT_GE(screen.size(), 2U);
  EXPECT_EQ(screen[0], "a?]0;b???c??\U0001F600??");
  EXPECT_EQ(screen[1], "Moving File: ?[2J????.txt");
}

TEST(StatusView, ProblemsDoNotDisturbWhatIsDrawn) {
  const auto session = RunOnTerminal(80, [] {
    Window window;
    window.BeginFolder(u"photos");
    ReportProblem("preferences.toml:3: broken");
    window.Say(1, "Collating files...");
    return 0;
  });
  EXPECT_EQ(session.Screen(80),
            (Lines{"photos", "vannerly-cli: preferences.toml:3: broken", "Collating files..."}));
}
