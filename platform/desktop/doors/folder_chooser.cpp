#include "platform/desktop/doors/folder_chooser.h"

#include <QAbstractButton>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QPointer>

#include "platform/desktop/doors/documents.h"
#include "platform/desktop/text/uris.h"
#include "platform/desktop/windows/main_window.h"
#include "platform/desktop/windows/notices.h"
#include "platform/linux/system/config_folders.h"
#include "platform/linux/system/safe_file.h"
#include "platform/processes.h"

namespace {

/// The file that keeps the place, as the bytes of its path.
std::string PlaceFile() {
  const std::string folder = UserStateFolder();
  return folder.empty() ? folder : folder + "/chooser";
}

QString LastPlace() {
  constexpr std::size_t kLongestPath = 65536;
  std::string place;
  struct stat status;
  if (ReadWholeFile(PlaceFile(), kLongestPath, &place, &status) == 0) {
    QString folder = QFile::decodeName(QByteArray::fromStdString(place));
    if (QFileInfo(folder).isDir()) return folder;
  }
  return QDir::homePath();
}

/// A place that cannot be kept is no more than a nuisance the next time.
void KeepPlace(const QString &folder) {
  const std::string file = PlaceFile();
  if (file.empty() || MakeFolders(FolderOf(file)) != 0) return;
  (void)ReplaceFile(file, QFile::encodeName(folder).toStdString(), nullptr);
}

}  // namespace

FolderChooser::FolderChooser(AEEventID eventID, QWidget *parent)
    : QFileDialog(parent), eventID_(eventID), beginning_(LastPlace()) {
  const bool isPreview = eventID == kAEPreviewDocuments;
  setWindowTitle(isPreview ? tr("Preview Folder") : tr("Flatten Folder"));
  setAttribute(Qt::WA_DeleteOnClose);
  setFileMode(QFileDialog::Directory);
  setOption(QFileDialog::ShowDirsOnly);
  setLabelText(QFileDialog::Accept, isPreview ? tr("&Preview") : tr("&Flatten"));
  setDirectory(beginning_);
  connect(this, &QFileDialog::filesSelected, this, &FolderChooser::Open);
  if (const QLineEdit *name = NameField()) {
    // After the dialog's own, which would have the button offer the folder that is looked into.
    connect(name, &QLineEdit::textChanged, this, &FolderChooser::UpdateAcceptButton);
    connect(this, &QFileDialog::directoryEntered, this, &FolderChooser::UpdateAcceptButton);
    connect(this, &QFileDialog::currentChanged, this, &FolderChooser::UpdateAcceptButton);
    UpdateAcceptButton();
  }
}

QLineEdit *FolderChooser::NameField() const {
  return findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
}

bool FolderChooser::IsNothingChosen() const {
  const QLineEdit *name = NameField();
  return name != nullptr && name->text().trimmed().isEmpty();
}

void FolderChooser::UpdateAcceptButton() {
  if (!IsNothingChosen()) return;
  auto *buttons = findChild<QDialogButtonBox *>();
  if (buttons == nullptr) return;
  for (QAbstractButton *button : buttons->buttons()) {
    if (buttons->buttonRole(button) == QDialogButtonBox::AcceptRole) button->setEnabled(false);
  }
}

void FolderChooser::accept() {
  if (!IsNothingChosen()) QFileDialog::accept();
}

void FolderChooser::Open(const QStringList &folders) {
  QStringList uris;
  for (const QString &folder : folders) {
    if (NameField() == nullptr && QDir(folder) == QDir(beginning_)) {
      // A desktop's own window answers so when nothing was chosen in it.
      ForgetProblems();
      TellProblem("No folder was chosen");
      continue;
    }
    KeepPlace(QFileInfo(folder).dir().absolutePath());
    uris.append(QString::fromStdString(UriFromPath(QFile::encodeName(folder).toStdString())));
  }
  if (!uris.isEmpty()) SendUris(eventID_, uris);
}

void OfferFolderChooser(AEEventID eventID) {
  static QPointer<FolderChooser> chooser;
  if (chooser != nullptr && chooser->EventID() != eventID) delete chooser;
  if (chooser == nullptr) chooser = new FolderChooser(eventID, MainWindow());
  BringUp(*chooser);
}

void AskForPreview(const QStringList &uris) {
  if (!uris.isEmpty()) return SendUris(kAEPreviewDocuments, uris);
  (void)SetFrontProcess({0, kCurrentProcess});
  OfferFolderChooser(kAEPreviewDocuments);
}
