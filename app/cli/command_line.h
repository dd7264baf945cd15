/// The command line of vannerly-cli.
///
///     vannerly-cli [options] FOLDER...
///     vannerly-cli --dry-run [options] FOLDER...
///     vannerly-cli --undo | --redo | --history [FOLDER...]
///
/// Options may stand anywhere before "--" and have no abbreviations; of several that contradict
/// each other the last counts. Operands are bytes, taken as they are.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "prefs/preference_settings.h"

/// What the program is to do. The first is the main job.
enum class Job { kFlatten, kUndo, kRedo, kListHistory };

struct CommandLine {
  Job job = Job::kFlatten;
  std::vector<std::string> folders;
  std::vector<PreferenceAssignment> forThisRun;  ///< in place of what is stored
  std::vector<PreferenceAssignment> toStore;     ///< for the user
  bool showsPreferences = false;                 ///< instead of flattening; has no folders then
  bool isQuiet = false;
  bool isVerbose = false;
  bool isJson = false;
  bool isForced = false;
  bool isDryRun = false;  ///< of flattening
};

/// A text that the user has asked for.
struct RequestedText {
  std::string text;
};

/// Wrong usage: what is wrong, without a line end.
struct UsageProblem {
  std::string problem;
};

/// Understands the arguments after the program's name. Touches nothing.
std::variant<CommandLine, RequestedText, UsageProblem> ParseCommandLine(
    const std::vector<std::string> &arguments);
