#include "app/cli/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr std::string_view kHelp =
    R"(vannerly-cli [options] FOLDER...
vannerly-cli --dry-run [options] FOLDER...
vannerly-cli --undo | --redo | --history [FOLDER...]

Moves every file below each FOLDER up into it, shows what that would do, or takes it back.

  --operation=move|alias|N            what to do with each file: move it up, make an
                                      alias of it in FOLDER, or (any other number) nothing
  --[no-]rename-duplicates            give a file whose name is taken a name of its own;
                                      without, it stays where it is
  --[no-]ignore-applications          treat applications and packages as single items
  --[no-]delete-emptied-folders       afterwards delete the sub-folders of FOLDER, with
                                      everything that is still in them
  --[no-]delete-to-trash              move those to the trash instead that still hold a file
  --[no-]aggregate-files-when-done    afterwards sort the items by extension into folders

These hold for this run; without them the stored preferences do.

  -n, --dry-run                       change nothing: list on standard output what would be
                                      done and what would be left, in that order

  --undo                              take back the newest run that is not taken back yet: of
                                      each FOLDER, or without one the newest of all
  --redo                              do again what was taken back last
  --history                           list the runs that are kept

  --preferences                       show the preferences and where each comes from
  --set KEY=VALUE                     store a preference: true or false, or a number
  --quiet                             show nothing while it works, except problems
  --verbose                           name each file that is left in place, renamed or
                                      deleted, and say why
  --json                              print the same on standard output when all is done,
                                      as JSON
  --force                             flatten even / or your home folder
  --help, --version                   show this text, or the version
  --                                  ends the options

Ctrl-C ends the program after the file in hand; nothing is deleted any more.

Exit status:
  0    every file that was found is where it should be
  1    a FOLDER could not be used, a preference could not be stored, output could not be
       written, or not everything could be taken back
  2    wrong usage; nothing was touched
  3    something was left in place, not reached, not looked into, not collated, not deleted
       although it should have been, or deleted without having been moved
  130, 143, 129    ended by Ctrl-C, SIGTERM, or the terminal going away
)";

/// Tells operands from options beforehand, because operands are bytes: in some of them the library
/// would see a list or an option. A value that stands apart from its option is joined to it.
struct SplitArguments {
  std::vector<std::string> options;
  std::vector<std::string> operands;
};

SplitArguments Split(const std::vector<std::string> &arguments) {
  SplitArguments split;
  for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
    if (*argument == "--") {
      split.operands.insert(split.operands.end(), argument + 1, arguments.end());
      break;
    }
    const bool isOption = argument->size() > 1 && argument->front() == '-';
    const bool wantsValue = *argument == "--operation" || *argument == "--set";
    if (!isOption) {
      split.operands.push_back(*argument);
    } else if (wantsValue && argument + 1 != arguments.end()) {
      const std::string &option = *argument++;
      split.options.push_back(option + "=" + *argument);
    } else {
      split.options.push_back(*argument);
    }
  }
  return split;
}

/// "move", "alias" or a signed 16-bit number.
std::optional<std::int16_t> ParseOperation(std::string_view text) {
  if (text == "move") return std::int16_t{1};
  if (text == "alias") return std::int16_t{2};
  return ParsePreferenceNumber(text);
}

struct BooleanOption {
  const char *names;
  PreferenceKey key;
};

constexpr BooleanOption kBooleanOptions[] = {
    {"--rename-duplicates,!--no-rename-duplicates", kRenameDuplicates},
    {"--ignore-applications,!--no-ignore-applications", kIgnoreApplications},
    {"--delete-emptied-folders,!--no-delete-emptied-folders", kDeleteEmptiedFolders},
    {"--delete-to-trash,!--no-delete-to-trash", kDeleteToTrash},
    {"--aggregate-files-when-done,!--no-aggregate-files-when-done", kAggregateFilesWhenDone},
};

/// `value`, where it is given, is true when the flag is there.
template <typename... Value>
CLI::Option *AddFlag(CLI::App *parser, const char *names, Value &...value) {
  return parser->add_flag(names, value...)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)
      ->disable_flag_override();
}

std::variant<CommandLine, RequestedText, UsageProblem> CheckJobBesideFlattening(
    const CommandLine &commandLine) {
  if (!commandLine.forThisRun.empty() || !commandLine.toStore.empty() ||
      commandLine.showsPreferences || commandLine.isForced || commandLine.isDryRun) {
    return UsageProblem{
        "--undo, --redo and --history take --quiet, --verbose and --json, and no other option"};
  }
  if (commandLine.job == Job::kListHistory && (commandLine.isVerbose || commandLine.isQuiet))
    return UsageProblem{"--history takes no other option but --json"};
  return commandLine;
}

}  // namespace

std::variant<CommandLine, RequestedText, UsageProblem> ParseCommandLine(
    const std::vector<std::string> &arguments) {
  SplitArguments split = Split(arguments);
  CommandLine commandLine;
  commandLine.folders = std::move(split.operands);

  CLI::App parser;
  parser.set_help_flag("--help");
  parser.set_version_flag("--version", "vannerly-cli " VANNERLY_VERSION "\n");
  std::string operation;
  const CLI::Option *const operationOption =
      parser.add_option("--operation", operation)
          ->type_name("VALUE")
          ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  std::vector<std::string> assignments;
  parser.add_option("--set", assignments)->type_name("VALUE")->allow_extra_args(false);
  std::vector<std::pair<const CLI::Option *, PreferenceKey>> booleans;
  for (const auto &[names, key] : kBooleanOptions)
    booleans.emplace_back(AddFlag(&parser, names), key);
  const std::array<std::pair<const CLI::Option *, Job>, 3> jobs{
      {{AddFlag(&parser, "--undo"), Job::kUndo},
       {AddFlag(&parser, "--redo"), Job::kRedo},
       {AddFlag(&parser, "--history"), Job::kListHistory}}};
  AddFlag(&parser, "-n,--dry-run", commandLine.isDryRun);
  AddFlag(&parser, "--preferences", commandLine.showsPreferences);
  AddFlag(&parser, "--quiet", commandLine.isQuiet);
  AddFlag(&parser, "--verbose", commandLine.isVerbose);
  AddFlag(&parser, "--json", commandLine.isJson);
  AddFlag(&parser, "--force", commandLine.isForced);

  try {
    std::ranges::reverse(split.options);  // The library takes them from the end.
    parser.parse(std::move(split.options));
  } catch (const CLI::CallForHelp &) {
    return RequestedText{std::string(kHelp)};
  } catch (const CLI::CallForVersion &version) {
    return RequestedText{version.what()};
  } catch (const CLI::ExtrasError &) {
    return UsageProblem{"unknown option " + parser.remaining().front()};
  } catch (const CLI::ParseError &error) {
    return UsageProblem{error.what()};
  }

  if (operationOption->count() > 0) {
    const std::optional<std::int16_t> number = ParseOperation(operation);
    if (!number) {
      return UsageProblem{"--operation: \"" + operation +
                          "\" is not move, alias or a number from -32768 to 32767"};
    }
    commandLine.forThisRun.push_back({kOperation, std::int64_t{*number}});
  }
  for (const auto &[option, key] : booleans) {
    if (option->count() > 0) commandLine.forThisRun.push_back({key, option->as<bool>()});
  }
  for (const std::string &text : assignments) {
    std::string problem;
    const auto assignment = ParsePreferenceAssignment(text, &problem);
    if (!assignment) return UsageProblem{"--set: " + problem};
    commandLine.toStore.push_back(*assignment);
  }

  for (const auto &[option, job] : jobs) {
    if (option->count() == 0) continue;
    if (commandLine.job != Job::kFlatten)
      return UsageProblem{"--undo, --redo and --history can't be combined"};
    commandLine.job = job;
  }
  if (commandLine.job != Job::kFlatten) return CheckJobBesideFlattening(commandLine);

  if (commandLine.isDryRun && (!commandLine.toStore.empty() || commandLine.showsPreferences))
    return UsageProblem{"--dry-run can't be combined with --set or --preferences"};
  const bool hasFolders = !commandLine.folders.empty();
  if (commandLine.showsPreferences && hasFolders)
    return UsageProblem{"--preferences takes no folder"};
  if (!commandLine.showsPreferences && commandLine.toStore.empty() && !hasFolders)
    return UsageProblem{"no folder is given; --help tells more"};
  if ((commandLine.isVerbose || commandLine.isJson) && !hasFolders)
    return UsageProblem{"--verbose and --json tell of folders, and none is given"};
  return commandLine;
}
