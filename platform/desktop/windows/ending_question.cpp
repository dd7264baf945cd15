#include "platform/desktop/windows/ending_question.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>

#include "platform/common/event_queue.h"
#include "platform/common/timers.h"
#include "platform/desktop/windows/main_window.h"
#include "platform/linux/preferences/preference_domain.h"
#include "platform/linux/system/ending.h"
#include "platform/plan.h"

namespace {

/// What the user is being asked.
struct Question {
  EventTargetRef target = nullptr;  ///< where the command goes
  OSType command = 0;               ///< 0 while nothing is asked
  std::uint64_t folder = 0;         ///< the number of the folder that a Stop is meant for
};
Question question;
QPointer<QMessageBox> questionBox;

std::uint64_t foldersBeforeThisRun = 0;

bool IsWanted(const char *key) {
  (void)CFPreferencesAppSynchronize();
  const auto value = ValueBeforeEnding(key);
  const bool *isWanted = value ? std::get_if<bool>(&*value) : nullptr;
  return isWanted != nullptr && *isWanted;
}

/// Whether folders come after the one in hand. One that could not be taken, as another process has
/// it, counts among them: better a question too many.
bool AreFoldersLeft() {
  const std::uint64_t taken = TheFolderInHand().number - foldersBeforeThisRun;
  return taken < static_cast<std::uint64_t>(FoldersOfEventInHand());
}

/// Whether the command, given now, would have files deleted that could still be moved.
bool WouldDelete(OSType command) {
  if (IsEnding() || IsPlanning() || !IsTimerFiring()) return false;
  if (!IsWanted("DeleteEmptiedFolders")) return false;
  if (TheFolderInHand().hasFilesToMove && !TheFolderInHand().isKept) return true;
  return command == kHICommandQuit && AreFoldersLeft();
}

void TakeAway() {
  question = {};
  if (questionBox == nullptr) return;
  questionBox->hide();
  questionBox->deleteLater();
  questionBox.clear();
}

enum class Answer { kKeep, kDelete, kGoOn };

void TakeAnswer(Answer answer) {
  const Question asked = question;
  TakeAway();
  if (answer == Answer::kGoOn) return;
  if (answer == Answer::kKeep) {
    if (asked.command == kHICommandQuit) {
      NoteEnding();
    } else {
      KeepFolderInHand();
    }
  }
  (void)SendCommand(asked.target, asked.command);
}

QString Text(OSType command) {
  return command == kHICommandQuit ? QObject::tr("Quit, and keep what is left?")
                                   : QObject::tr("Stop, and keep what is left?");
}

QString Explanation(OSType command) {
  const QString rule =
      IsWanted("DeleteToTrash")
          ? QObject::tr(
                "You have chosen to move the sub-folders to the trash, with every file still "
                "in them. ")
          : QObject::tr(
                "You have chosen to delete the sub-folders for good, with every file still in "
                "them. ");
  const QString files =
      command == kHICommandQuit
          ? QObject::tr("Files that have not been moved when Vannerly quits would be among them.")
          : QObject::tr("Files that have not been moved when Vannerly stops would be among them.");
  return rule + files + QObject::tr("\n\nIt goes on moving files until you answer.");
}

void Ask() {
  auto *box = new QMessageBox(MainWindow());
  // Beside the event loop, never in one of its own: the run goes on, and may end by itself.
  box->setModal(false);
  box->setWindowTitle(QObject::tr("Vannerly"));
  box->setIcon(QMessageBox::Question);
  box->setTextFormat(Qt::PlainText);
  QPushButton *keep = box->addButton(QObject::tr("&Keep what is left"), QMessageBox::AcceptRole);
  QPushButton *remove =
      box->addButton(QObject::tr("&Delete it with its folders"), QMessageBox::DestructiveRole);
  QPushButton *goOn = box->addButton(QObject::tr("&Go on"), QMessageBox::RejectRole);
  box->setDefaultButton(keep);
  box->setEscapeButton(goOn);
  QObject::connect(box, &QMessageBox::finished, box, [box, keep, remove] {
    const QAbstractButton *clicked = box->clickedButton();
    TakeAnswer(clicked == keep     ? Answer::kKeep
               : clicked == remove ? Answer::kDelete
                                   : Answer::kGoOn);
  });
  questionBox = box;
}

}  // namespace

void NoteRunAhead() {
  foldersBeforeThisRun = TheFolderInHand().number;
}

bool HasToAskBefore(EventTargetRef target, OSType commandID) {
  if (commandID != kHICommandQuit && commandID != kHICommandCancel && commandID != kCommandStopAll)
    return false;
  if (!WouldDelete(commandID)) {
    if (commandID == kHICommandQuit) TakeAway();
    return false;
  }
  if (commandID == kHICommandQuit && question.command == kHICommandQuit) {
    TakeAway();
    NoteEnding();
    return false;
  }
  if (questionBox == nullptr) Ask();
  // A Stop changes nothing of a question about Quit.
  if (question.command != kHICommandQuit) {
    question.target = target;
    question.command = commandID;
    question.folder = TheFolderInHand().number;
    questionBox->setText(Text(commandID));
    questionBox->setInformativeText(Explanation(commandID));
  }
  BringUp(*questionBox);
  return true;
}

void UpdateEndingQuestion() {
  if (question.command == 0) return;
  const bool isSameFolder = question.folder == TheFolderInHand().number;
  if (WouldDelete(question.command) && (question.command == kHICommandQuit || isSameFolder)) return;
  const Question asked = question;
  TakeAway();
  // Whoever wanted to quit still does; a Stop has nothing to stop any more.
  if (asked.command == kHICommandQuit) (void)SendCommand(asked.target, asked.command);
}

void EndWithoutAsking() {
  NoteEnding();
  TakeAway();
  (void)SendCommand(nullptr, kHICommandQuit);
}
