#include "platform/desktop/desktop.h"

#include <QApplication>
#include <QStyle>
#include <QTimer>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/common/event_dispatch.h"
#include "platform/desktop/doors/bus_service.h"
#include "platform/desktop/doors/door.h"
#include "platform/desktop/doors/folder_chooser.h"
#include "platform/desktop/quit_signals.h"
#include "platform/desktop/text/uris.h"
#include "platform/desktop/usual_commands.h"
#include "platform/desktop/widgets/color_scheme.h"
#include "platform/desktop/widgets/shades.h"
#include "platform/desktop/windows/commands.h"
#include "platform/desktop/windows/notices.h"
#include "platform/journal.h"
#include "platform/linux/system/descriptor.h"
#include "platform/linux/system/standard_streams.h"
#include "platform/preferences.h"

namespace {

constexpr int kWrongUsage = 2;

constexpr char kHelp[] =
    "Usage: vannerly [FOLDER...]\n"
    "       vannerly --preview [FOLDER...]\n"
    "       vannerly --preferences\n"
    "\n"
    "Opens the window and flattens the folders: every file below a folder is moved up into it.\n"
    "When Vannerly is open already, the folders go to the one that is.\n"
    "\n"
    "  --preview       show first what would happen, and let it be done or not; without a\n"
    "                  folder, one can be chosen\n"
    "  --preferences   show the preferences\n"
    "  --help          print this and exit\n"
    "  --version       print the version and exit\n"
    "  --              take everything after it for a folder\n";

/// Writes to standard output and answers the exit status.
int Print(std::string_view text) {
  const int error = WriteAll(STDOUT_FILENO, text);
  if (error == 0) return EXIT_SUCCESS;
  TellProblem(std::string("standard output: ") + std::strerror(error));
  return EXIT_FAILURE;
}

/// While Qt looks for a display: what it has to say ends in an abort, so one line of ours takes the
/// place of all of it.
void HandleMessageBeforeDisplay(QtMsgType type, const QMessageLogContext &, const QString &) {
  if (type != QtFatalMsg) return;
  TellProblem("cannot open a display; vannerly-cli does the same on a terminal");
  std::_Exit(EXIT_FAILURE);
}

struct CommandLine {
  std::vector<std::string> operands = {};
  bool wantsPreview = false;
  bool wantsPreferences = false;
  std::optional<int> exitStatus = std::nullopt;
};

CommandLine ReadCommandLine(int argc, char **argv) {
  CommandLine line;
  bool areOptionsOver = false;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (areOptionsOver || !argument.starts_with('-') || argument == "-") {
      line.operands.emplace_back(argument);
    } else if (argument == "--") {
      areOptionsOver = true;
    } else if (argument == "--help" || argument == "-h") {
      return {.exitStatus = Print(kHelp)};
    } else if (argument == "--version") {
      return {.exitStatus = Print("vannerly " VANNERLY_VERSION "\n")};
    } else if (argument == "--preferences") {
      line.wantsPreferences = true;
    } else if (argument == "--preview") {
      line.wantsPreview = true;
    } else {
      TellProblem("unknown option " + std::string(argument) + " (see --help)");
      return {.exitStatus = kWrongUsage};
    }
  }
  if (line.wantsPreferences && (line.wantsPreview || !line.operands.empty())) {
    TellProblem(line.wantsPreview ? "--preferences can't be combined with --preview"
                                  : "--preferences takes no folder");
    return {.exitStatus = kWrongUsage};
  }
  return line;
}

std::unique_ptr<QApplication> application;

void StartQt(char **argv) {
  // The command line is read above; an operand must never be taken for an option of Qt's.
  static char *ownName[] = {argv[0], nullptr};
  static int count = argv[0] != nullptr ? 1 : 0;
  const QtMessageHandler handler = qInstallMessageHandler(HandleMessageBeforeDisplay);
  application = std::make_unique<QApplication>(count, ownName);
  qInstallMessageHandler(handler);
  if (QApplication::style()->name() == QLatin1String("fusion"))
    QApplication::setStyle(new OutlinedStyle);
  QApplication::setApplicationVersion(QStringLiteral(VANNERLY_VERSION));
  QApplication::setDesktopFileName(QStringLiteral("com.brenmoor.Vannerly"));
  // The event loop ends when the Quit command says so, not when a window is hidden.
  QApplication::setQuitOnLastWindowClosed(false);
}

struct Operands {
  std::vector<FSRef> folders;  ///< those that are let in
  QStringList uris;            ///< of all: a window that is open tells of the others, too
};

/// Looks at the operands, and tells why some are not let in.
Operands AdmitOperands(const std::vector<std::string> &texts) {
  Operands operands;
  for (const std::string &text : texts) {
    const Admission admission = AdmitOperand(text);
    if (admission.folder) {
      operands.folders.push_back(*admission.folder);
    } else {
      TellProblem(text + ": " + admission.reason);
    }
    operands.uris.append(QString::fromStdString(
        admission.path.starts_with('/') ? UriFromPath(admission.path) : admission.path));
  }
  return operands;
}

}  // namespace

std::optional<int> OpenDesktop(int argc, char **argv) {
  PrepareStandardStreams();
  const CommandLine commandLine = ReadCommandLine(argc, argv);
  if (commandLine.exitStatus) return commandLine.exitStatus;
  StartQt(argv);

  const Operands operands = AdmitOperands(commandLine.operands);
  switch (ClaimBusName({operands.uris, commandLine.wantsPreview, commandLine.wantsPreferences})) {
    case BusOutcome::kHandedOver:
      CloseDesktop();
      return EXIT_SUCCESS;
    case BusOutcome::kDoesNotAnswer:
      TellProblem("the Vannerly that is open does not answer");
      CloseDesktop();
      return EXIT_FAILURE;
    case BusOutcome::kIsFirst:
      break;
  }
  CatchQuitSignals();
  InstallUsualCommands();
  new ColorScheme(qApp);  // Belongs to the application.
  PreferencesSetProblemHandler(TellProblem);
  JournalSetLineHandler(TellProblem);
  // What was asked for is done as soon as the event loop runs.
  QTimer::singleShot(0, qApp, [folders = operands.folders, commandLine] {
    const AEEventID eventID = commandLine.wantsPreview ? kAEPreviewDocuments : kAEOpenDocuments;
    if (!folders.empty()) (void)SendDocuments(eventID, folders);
    if (commandLine.wantsPreview && commandLine.operands.empty()) OfferFolderChooser(eventID);
    if (commandLine.wantsPreferences) GiveCommand(nullptr, kHICommandPreferences);
  });
  return std::nullopt;
}

void CloseDesktop() {
  (void)CFPreferencesAppSynchronize();
  application.reset();
}
