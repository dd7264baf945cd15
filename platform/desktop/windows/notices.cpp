#include "platform/desktop/windows/notices.h"

#include <QAbstractButton>
#include <QApplication>
#include <QBasicTimer>
#include <QPointer>
#include <QTimer>
#include <QTimerEvent>
#include <cstdio>

#include "platform/desktop/text/plain_text.h"
#include "platform/desktop/widgets/status_line.h"
#include "platform/desktop/windows/main_window.h"
#include "platform/desktop/windows/messages_window.h"

namespace {

constexpr int kMillisecondsForNow = 500;

/// The line of the window and its button, by their names in the interface file.
constexpr char kLineName[] = "notice";
constexpr char kButtonName[] = "noticeDetails";

/// More than anyone reads; a drop can bring any number of files.
constexpr int kMostMessages = 1000;

QString TextOf(const std::string &bytes) {
  return OneLine(QString::fromLocal8Bit(bytes));
}

void WriteToStandardError(const QString &line) {
  (void)std::fprintf(stderr, "vannerly: %s\n", line.toLocal8Bit().constData());
}

/// What the quiet line says. Belongs to the application.
class Notices final : public QObject {
 public:
  static Notices &Get() {
    static QPointer<Notices> notices;
    if (notices == nullptr) notices = new Notices;
    return *notices;
  }

  void AddProblem(const QString &problem) {
    if (!newestProblem_.isEmpty()) ++otherProblems_;
    newestProblem_ = problem;
    messages_.append(problem);
    if (messages_.size() > kMostMessages) messages_.removeFirst();
    if (window_ != nullptr) window_->Add(problem);
    Show();
  }

  void ForgetProblems() {
    newestProblem_.clear();
    otherProblems_ = 0;
    Show();
  }

  void ShowMessages() {
    if (window_ == nullptr) {
      window_ = new MessagesWindow(messages_, kMostMessages, MainWindow());
      connect(window_, &MessagesWindow::dismissed, this, [this] {
        messages_.clear();
        ForgetProblems();
      });
    }
    BringUp(*window_);
  }

  /// Answers whether that is news.
  bool SetState(const QString &state) {
    stateEnds_.start(kMillisecondsForNow, this);
    if (state == state_) return false;
    state_ = state;
    Show();
    return true;
  }

 protected:
  void timerEvent(QTimerEvent *) override {
    stateEnds_.stop();
    state_.clear();
    Show();
  }

 private:
  Notices() : QObject(qApp) {}

  QString Text() const {
    if (!state_.isEmpty()) return state_;
    if (otherProblems_ == 0) return newestProblem_;
    return tr("%1 (and %2 more)").arg(newestProblem_).arg(otherProblems_);
  }

  void Show() {
    const QWidget *window = MainWindow();
    if (window == nullptr) {
      // The event loop begins only when there is one.
      QTimer::singleShot(0, this, [this] { Show(); });
      return;
    }
    auto *line = window->findChild<StatusLine *>(QLatin1String(kLineName));
    if (line != nullptr) line->ShowText(Text());
    auto *button = window->findChild<QAbstractButton *>(QLatin1String(kButtonName));
    if (button == nullptr) return;
    // A focus that is handed on would be the Stop button's unasked.
    if (newestProblem_.isEmpty()) button->clearFocus();
    button->setVisible(!newestProblem_.isEmpty());
  }

  QStringList messages_;  ///< the oldest first
  QPointer<MessagesWindow> window_;
  QString newestProblem_;  ///< on the line; empty for none
  int otherProblems_ = 0;
  QString state_;
  QBasicTimer stateEnds_;
};

}  // namespace

void TellProblem(const std::string &problem) {
  const QString line = TextOf(problem);
  WriteToStandardError(line);
  if (qApp != nullptr) Notices::Get().AddProblem(line);
}

void TellForNow(const std::string &state) {
  const QString line = TextOf(state);
  if (Notices::Get().SetState(line)) WriteToStandardError(line);
}

void ForgetProblems() {
  Notices::Get().ForgetProblems();
}

void ShowMessages() {
  Notices::Get().ShowMessages();
}
