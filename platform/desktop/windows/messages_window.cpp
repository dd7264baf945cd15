#include "platform/desktop/windows/messages_window.h"

#include <QDialogButtonBox>
#include <QMimeData>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QTextBlock>
#include <QVBoxLayout>
#include <memory>

#include "platform/desktop/text/plain_text.h"

namespace {

/// A text to read and to copy from, by mouse and keyboard.
class MessageText final : public QTextEdit {
 public:
  explicit MessageText(int most) {
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setTabChangesFocus(true);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    document()->setMaximumBlockCount(most);
  }

 protected:
  /// Without the marks by which each name of a path is shown in its place: a copied path has to be
  /// the item's.
  QMimeData *createMimeDataFromSelection() const override {
    auto copied = std::make_unique<QMimeData>();
    const QString text = WithoutIsolation(textCursor().selectedText());
    copied->setText(QString(text).replace(QChar::ParagraphSeparator, QLatin1Char('\n')));
    return copied.release();
  }
};

}  // namespace

MessagesWindow::MessagesWindow(const QStringList &messages, int most, QWidget *parent)
    : QDialog(parent), text_(new MessageText(most)) {
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowTitle(tr("Messages"));
  const QSize room = screen()->availableSize();
  resize(QSize(560, 300).boundedTo(room * 4 / 5));
  text_->setAccessibleName(tr("Messages"));

  auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close);
  auto *dismiss = buttons->addButton(tr("&Dismiss"), QDialogButtonBox::DestructiveRole);
  dismiss->setToolTip(tr("Take all messages away"));
  connect(dismiss, &QPushButton::clicked, this, [this] {
    Q_EMIT dismissed();
    accept();
  });
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

  auto *rows = new QVBoxLayout(this);
  rows->addWidget(text_);
  rows->addWidget(buttons);
  for (const QString &message : messages) Add(message);
  text_->setFocus();
}

void MessagesWindow::Add(const QString &message) {
  QScrollBar *bar = text_->verticalScrollBar();
  const bool isAtEnd = bar->value() == bar->maximum();
  QTextBlockFormat paragraph;
  // A sentence of ours stays one, whatever script the names in it are written in.
  paragraph.setLayoutDirection(Qt::LeftToRight);
  paragraph.setBottomMargin(text_->fontMetrics().height() / 2.0);
  QTextCursor end(text_->document());
  end.movePosition(QTextCursor::End);
  if (text_->document()->isEmpty()) {
    end.setBlockFormat(paragraph);
  } else {
    end.insertBlock(paragraph);
  }
  end.insertText(WithPathIsolated(message));
  // Who has scrolled up to read is left alone.
  if (isAtEnd) bar->setValue(bar->maximum());
}
