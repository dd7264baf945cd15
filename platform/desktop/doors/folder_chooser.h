/// The window in which the user chooses a folder to flatten or to preview.
#pragma once

#include <QFileDialog>
#include <QLineEdit>

#include "platform/apple_events.h"

/// Begins where a folder was chosen last, also by an earlier start; the first time in the user's
/// home. What nobody has chosen is not flattened: there is nothing to accept until a folder is
/// marked or its name typed.
class FolderChooser final : public QFileDialog {
  Q_OBJECT

 public:
  /// What is chosen is sent with that event, to open or to preview.
  FolderChooser(AEEventID eventID, QWidget *parent);

  AEEventID EventID() const { return eventID_; }

  void accept() override;

 private:
  void Open(const QStringList &folders);
  /// Of Qt's own window; none in a desktop's, which cannot be asked.
  QLineEdit *NameField() const;
  bool IsNothingChosen() const;
  void UpdateAcceptButton();

  AEEventID eventID_;
  QString beginning_;  ///< the folder in which it was opened
};

/// Shows the chooser for that event; there is one at most. It is shown beside the event loop, never
/// in one of its own: a run goes on behind it, and its Stop button can be pressed.
void OfferFolderChooser(AEEventID eventID);

/// Has these folders previewed, or one that the user chooses when there are none.
void AskForPreview(const QStringList &uris);
