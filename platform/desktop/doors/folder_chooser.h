/// The window in which the user chooses a folder to flatten.
#pragma once

#include <QFileDialog>
#include <QLineEdit>

/// Begins where a folder was chosen last, also by an earlier start; the first time in the user's
/// home. What nobody has chosen is not flattened: there is nothing to accept until a folder is
/// marked or its name typed.
class FolderChooser final : public QFileDialog {
  Q_OBJECT

 public:
  explicit FolderChooser(QWidget *parent);

  void accept() override;

 private:
  void Open(const QStringList &folders);
  /// Of Qt's own window; none in a desktop's, which cannot be asked.
  QLineEdit *NameField() const;
  bool IsNothingChosen() const;
  void UpdateAcceptButton();

  QString beginning_;  ///< the folder in which it was opened
};

/// Shows the chooser; there is one at most. It is shown beside the event loop, never in one of its
/// own: a run goes on behind it, and its Stop button can be pressed.
void OfferFolderChooser();
