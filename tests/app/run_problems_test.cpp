#include "app/display/run_problems.h"

#include "engine/run_observers.h"
#include "tests/support/program_test.h"

namespace {

using RunProblems = CProgramTest;

/// What is told of a run on one folder.
std::vector<std::string> ToldOf(const FSRef &folder, RunOutcome outcome, OSErr deletionError) {
  Recorder().ForgetCalls();
  TellObservers(&CRunObserver::BeginRun, 1);
  BeginFolderReport(folder);
  if (deletionError != noErr) NoteRunEvent({RunEvent::kNotDeleted, folder, deletionError});
  EndFolderReport(outcome, outcome == RunOutcome::kInUse ? "another has it" : "");
  TellObservers(&CRunObserver::EndRun);
  return Recorder().CallsBeginningWith("TellProblem");
}

TEST_F(RunProblems, WhatTheSummaryDoesNotSayIsTold) {
  static const bool isWatched = (TellProblemsOfRuns(), true);
  EXPECT_TRUE(isWatched);
  files.MakeFolder("folder");
  const FSRef folder = Ref("folder");
  files.Remove("folder");
  const struct {
    RunOutcome outcome;
    OSErr deletionError;
    const char *reason;
  } kCases[] = {
      {RunOutcome::kFinished, noErr, nullptr},
      {RunOutcome::kStopped, noErr, nullptr},
      {RunOutcome::kNothingFound, dirNFErr, nullptr},
      {RunOutcome::kFinished, errFSOperationNotSupported,
       "sub-folders stay, as there is no trash for them that can be used"},
      {RunOutcome::kCountsDiffer, noErr,
       "no file was touched, as others came or went while they were looked for"},
      {RunOutcome::kOutOfMemory, noErr,
       "no file was touched, as there is not enough memory for the list of them"},
      {RunOutcome::kNotAFolder, noErr, "it is no folder any more"},
      {RunOutcome::kNoJournal, noErr, "the journal of its run can't be used"},
      {RunOutcome::kInUse, noErr, "was left alone, as another has it"},
  };
  for (const auto &[outcome, deletionError, reason] : kCases) {
    std::vector<std::string> expected;
    if (reason != nullptr)
      expected.push_back("TellProblem \"" + files.PathOf("folder") + ": " + reason + "\"");
    EXPECT_EQ(ToldOf(folder, outcome, deletionError), expected);
  }
  // An item whose place is gone when its turn comes never gets to be a folder.
  Recorder().ForgetCalls();
  TellObservers(&CRunObserver::BeginRun, 2);
  TellObservers(&CRunObserver::EndRun);
  EXPECT_EQ(Recorder().Calls(),
            std::vector<std::string>{"TellProblem \"2 dropped folders are no longer there\""});
}

}  // namespace
