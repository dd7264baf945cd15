// vannerly-cli: the program on a terminal.
#include <cstdio>

#include "app/command_line.h"
#include "app/json_report.h"
#include "app/line_report.h"
#include "app/start_up.h"
#include "platform/journal.h"
#include "platform/terminal/terminal.h"

namespace {

constexpr int kUnusable = 1;  ///< what was named or asked for could not be used
constexpr int kWrongUsage = 2;

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
  for (const PreferenceSetting &setting : ListPreferences()) {
    std::printf("%s = %s (%s)\n", std::string(setting.key).c_str(), setting.value.c_str(),
                SourceName(setting.source));
  }
}

bool StorePreferences(const std::vector<PreferenceAssignment> &assignments) {
  for (const auto &[key, value] : assignments) CFPreferencesSetAppValue(key.name, value);
  return assignments.empty() || CFPreferencesAppSynchronize();
}

void Flatten(const CommandLine &commandLine) {
  if (commandLine.isJson) StartJsonReport("vannerly-cli " VANNERLY_VERSION);
  if (commandLine.isVerbose || !commandLine.isJson) StartLineReport(commandLine.isVerbose);
  const auto unusable = TakeOperands(commandLine.folders, commandLine.isForced);
  for (const auto &[operand, reason] : unusable) ReportUnusableFolder(operand, reason);
  // The status of start-up tells of a missing menu at most, which a terminal never has.
  if (unusable.size() < commandLine.folders.size()) (void)RunVannerly();
  // There has been no run to end when nothing could be used, or when it was called off.
  PrintJsonReport();
}

int Perform(const CommandLine &commandLine) {
  StartTerminal(commandLine.isQuiet);
  PreferencesSetProblemHandler([](const std::string &problem) { ReportProblem(problem); });
  JournalSetLineHandler([](const std::string &line) { ReportProblem(line); });
  for (const auto &[key, value] : commandLine.forThisRun)
    PreferencesSetValueForThisRun(key.name, value);

  if (!StorePreferences(commandLine.toStore)) return kUnusable;
  if (commandLine.showsPreferences) ShowPreferences();
  if (!commandLine.folders.empty()) Flatten(commandLine);
  return TerminalExitStatus();
}

}  // namespace

int main(int argc, char **argv) {
  // Without a single argument, argv may hold nothing but its end.
  const auto parsed = ParseCommandLine(argc > 0 ? std::vector<std::string>(argv + 1, argv + argc)
                                                : std::vector<std::string>());
  if (const auto *request = std::get_if<RequestedText>(&parsed)) {
    std::fputs(request->text.c_str(), stdout);
    return 0;
  }
  if (const auto *usage = std::get_if<UsageProblem>(&parsed)) {
    ReportProblem(usage->problem);
    return kWrongUsage;
  }
  return Perform(std::get<CommandLine>(parsed));
}
