// vannerly-cli: the program on a terminal.
#include "app/cli/command_line.h"
#include "app/cli/exit_status.h"
#include "app/cli/history.h"
#include "app/cli/json_report.h"
#include "app/cli/line_report.h"
#include "app/cli/plan_report.h"
#include "app/display/run_display.h"
#include "app/start_up_cli.h"
#include "platform/journal.h"
#include "platform/plan.h"
#include "platform/terminal/terminal.h"

namespace {

constexpr char kProgram[] = "vannerly-cli " VANNERLY_VERSION;

const char *SourceName(PreferenceSource source) {
  switch (source) {
    case PreferenceSource::kCommandLine:
      return "command line";
    case PreferenceSource::kUser:
      return "user";
    case PreferenceSource::kSystem:
      return "system";
    case PreferenceSource::kDefault:
      break;
  }
  return "default";
}

void ShowPreferences() {
  std::string lines;
  for (const PreferenceSetting &setting : ListPreferences()) {
    lines.append(setting.key).append(" = ").append(setting.value);
    lines.append(" (").append(SourceName(setting.source)).append(")\n");
  }
  (void)WriteOutput(lines);  // The exit status tells whether it could.
}

bool StorePreferences(const std::vector<PreferenceAssignment> &assignments) {
  for (const auto &[key, value] : assignments) CFPreferencesSetAppValue(key.name, value);
  return assignments.empty() || CFPreferencesAppSynchronize();
}

void StartReports(const CommandLine &commandLine) {
  // What a preview is at would read as if it were done.
  if (!commandLine.isDryRun) ShowRunsInWindow();
  if (commandLine.isJson) StartJsonReport(kProgram);
  if (commandLine.isDryRun) {
    StartPlanReport(!commandLine.isJson, commandLine.isQuiet, commandLine.folders.size() > 1);
  } else if (commandLine.isVerbose || !commandLine.isJson) {
    StartLineReport(commandLine.isVerbose);
  }
  WatchRunsForExitStatus();
}

void TakeBackRuns(const CommandLine &commandLine) {
  StartReports(commandLine);
  StartUpOnTerminal();
  const TakeBack how = commandLine.job == Job::kUndo ? TakeBack::kUndo : TakeBack::kRedo;
  if (OrderTakingBack(how, commandLine.folders)) TakeBackOnTerminal();
  PrintJsonReport();
}

void Flatten(const CommandLine &commandLine) {
  if (commandLine.isDryRun) BeginPlan();
  StartReports(commandLine);
  const auto unusable = TakeOperands(commandLine.folders, commandLine.isForced);
  for (const auto &[operand, reason] : unusable) AddUnusableToJsonReport(operand, reason);
  if (unusable.size() < commandLine.folders.size()) {
    StartUpOnTerminal();
    FlattenOnTerminal();
  }
  // There has been no run to end when nothing could be used, or when it was called off.
  PrintJsonReport();
  EndPlan();
}

int Perform(const CommandLine &commandLine) {
  StartTerminal(commandLine.isQuiet);
  PreferencesSetProblemHandler([](const std::string &problem) { ReportProblem(problem); });
  JournalSetLineHandler([](const std::string &line) { ReportProblem(line); });
  for (const auto &[key, value] : commandLine.forThisRun)
    PreferencesSetValueForThisRun(key.name, value);

  if (!StorePreferences(commandLine.toStore)) return kUnusable;
  if (commandLine.showsPreferences) ShowPreferences();
  switch (commandLine.job) {
    case Job::kFlatten:
      if (!commandLine.folders.empty()) Flatten(commandLine);
      break;
    case Job::kListHistory:
      ListHistory(commandLine.folders, commandLine.isJson, kProgram);
      break;
    default:
      TakeBackRuns(commandLine);
  }
  return TerminalExitStatus();
}

}  // namespace

int main(int argc, char **argv) {
  // Without a single argument, argv may hold nothing but its end.
  const auto parsed = ParseCommandLine(argc > 0 ? std::vector<std::string>(argv + 1, argv + argc)
                                                : std::vector<std::string>());
  if (const auto *request = std::get_if<RequestedText>(&parsed)) {
    StartTerminal(true);
    (void)WriteOutput(request->text);
    return TerminalExitStatus();
  }
  if (const auto *usage = std::get_if<UsageProblem>(&parsed)) {
    ReportProblem(usage->problem);
    return kWrongUsage;
  }
  return Perform(std::get<CommandLine>(parsed));
}
