#include "platform/desktop/results/results_window.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPointer>
#include <QPushButton>
#include <QSaveFile>
#include <QScreen>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>

#include "platform/common/timers.h"
#include "platform/desktop/results/name_delegate.h"
#include "platform/desktop/results/show_item.h"
#include "platform/desktop/text/plain_text.h"
#include "platform/desktop/windows/main_window.h"

namespace {

/// Milliseconds. A moved file is to be seen within half a second, and a run that is on is to lose
/// no more than an eighth of its time.
constexpr int kBetweenLooks = 250;
constexpr int kLookDuringRun = 40;
constexpr int kLook = 50;
constexpr int kTimesBetweenLooks = 7;

/// Longer than between two keys of somebody who types.
constexpr int kUntilSearch = 150;

QString NameOf(const std::string &path) {
  const std::string name = path.substr(path.rfind('/') + 1);
  return OneLine(QString::fromLocal8Bit(name.empty() ? path : name));
}

/// What results can be saved as.
struct SavedFormat {
  ResultFormat format;
  const char *name;
  const char *suffix;
};
constexpr SavedFormat kSavedFormats[] = {
    {ResultFormat::kJson, QT_TR_NOOP("JSON: all that is known of the run"), "json"},
    {ResultFormat::kCsv, QT_TR_NOOP("Comma-separated values: the rows shown"), "csv"},
};

/// The one of a name that says which, or else the one chosen.
ResultFormat FormatOf(const QString &path, const SavedFormat &chosen) {
  const QString suffix = QFileInfo(path).suffix();
  for (const SavedFormat &saved : kSavedFormats) {
    if (suffix.compare(QLatin1String(saved.suffix), Qt::CaseInsensitive) == 0) return saved.format;
  }
  return chosen.format;
}

QString NumberText(std::size_t number) {
  return QLocale().toString(static_cast<qulonglong>(number));
}

QPushButton *MakeButton(QAction *action) {
  auto *button = new QPushButton(action->text());
  button->setAutoDefault(false);
  button->setEnabled(action->isEnabled());
  button->setToolTip(action->toolTip());
  QObject::connect(button, &QPushButton::clicked, action, &QAction::trigger);
  QObject::connect(action, &QAction::enabledChanged, button, &QPushButton::setEnabled);
  return button;
}

}  // namespace

ResultsWindow::ResultsWindow(CResultList *list)
    : list_(*list),
      model_(nullptr),
      search_(new QLineEdit),
      kinds_(new QComboBox),
      table_(new ResultTable),
      state_(new StatusLine(nullptr)),
      missing_(new StatusLine(nullptr)),
      warningSign_(new QLabel),
      planNotice_(new StatusLine(nullptr)),
      planSummary_(new StatusLine(nullptr)),
      flatten_(new QPushButton(tr("&Flatten"))),
      cancel_(new QPushButton(tr("Cancel"))),
      notice_(MakeNotice()),
      question_(MakeQuestion()) {
  setAttribute(Qt::WA_DeleteOnClose);
  constexpr int kFrame = 40;
  const QSize room = screen()->availableSize();
  resize(QSize(820, 520).boundedTo({room.width() - kFrame, room.height() - 2 * kFrame}));
  list_.Open([this] { nextLook_.start(kBetweenLooks); });
  model_ = new ResultModel(list, this);
  open_ = AddAction(tr("&Open Folder"), Qt::Key_Return, &ResultsWindow::OpenFolder);
  copy_ = AddAction(tr("&Copy Path"), QKeySequence::Copy, &ResultsWindow::CopyPaths);
  save_ = AddAction(tr("&Save…"), QKeySequence::Save, &ResultsWindow::AskWhereToSave);
  save_->setToolTip(tr("Save all that is known of the run as JSON, or the rows shown as CSV (%1)")
                        .arg(save_->shortcut().toString(QKeySequence::NativeText)));
  MakeTable();
  auto *rows = new QVBoxLayout(this);
  rows->addWidget(notice_);
  rows->addWidget(MakeTopRow());
  rows->addWidget(table_, 1);
  rows->addWidget(missing_);
  rows->addWidget(MakeBottomRow());
  rows->addWidget(question_);
  auto *close = new QAction(this);
  close->setShortcuts({Qt::Key_Escape, QKeySequence(Qt::CTRL | Qt::Key_W)});
  connect(close, &QAction::triggered, this, &QWidget::close);
  addAction(close);

  nextLook_.setSingleShot(true);
  connect(&nextLook_, &QTimer::timeout, this, &ResultsWindow::Follow);
  searchIsTyped_.setSingleShot(true);
  connect(&searchIsTyped_, &QTimer::timeout, this, &ResultsWindow::Select);
}

void ResultsWindow::Begin() {
  Follow();
  const auto question = list_.Question();
  if (!question) return table_->setFocus();
  // Where there is a warning, nothing is done by a stray key.
  (question->canBeCarriedOut && !question->isGrave ? flatten_ : cancel_)->setFocus();
}

ResultsWindow::~ResultsWindow() {
  // The views look at the list as long as they are there.
  delete table_;
  list_.Close();
}

QAction *ResultsWindow::AddAction(const QString &text, const QKeySequence &key,
                                  void (ResultsWindow::*act)()) {
  auto *action = new QAction(text, this);
  action->setShortcut(key);
  action->setToolTip(QStringLiteral("%1 (%2)").arg(QString(text).remove(QLatin1Char('&')),
                                                   key.toString(QKeySequence::NativeText)));
  connect(action, &QAction::triggered, this, act);
  return action;
}

QWidget *ResultsWindow::MakeTopRow() {
  search_->setPlaceholderText(tr("Search"));
  search_->setAccessibleName(tr("Search"));
  search_->setClearButtonEnabled(true);
  connect(search_, &QLineEdit::textChanged, this, [this] { searchIsTyped_.start(kUntilSearch); });
  connect(search_, &QLineEdit::returnPressed, table_, qOverload<>(&QWidget::setFocus));
  auto *find = new QAction(this);
  find->setShortcut(QKeySequence::Find);
  connect(find, &QAction::triggered, this, [this] {
    search_->setFocus(Qt::ShortcutFocusReason);
    search_->selectAll();
  });
  addAction(find);

  kinds_->setAccessibleName(tr("What is shown"));
  kinds_->setSizeAdjustPolicy(QComboBox::AdjustToContents);
  connect(kinds_, &QComboBox::activated, this, &ResultsWindow::Select);

  auto *row = new QWidget;
  auto *layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(search_, 1);
  layout->addWidget(kinds_);
  return row;
}

QWidget *ResultsWindow::MakeBottomRow() {
  state_->setAlignment(Qt::AlignLeading | Qt::AlignVCenter);
  state_->setAccessibleDescription(tr("How many items are shown"));
  missing_->setAlignment(Qt::AlignLeading | Qt::AlignVCenter);
  missing_->setAccessibleDescription(tr("Notice"));
  auto *row = new QWidget;
  auto *layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(state_, 1);
  for (QAction *action : {open_, copy_, save_}) layout->addWidget(MakeButton(action));
  return row;
}

/// What is to be read before anything else.
QWidget *ResultsWindow::MakeNotice() {
  const int size = style()->pixelMetric(QStyle::PM_LargeIconSize);
  warningSign_->setPixmap(style()
                              ->standardIcon(QStyle::SP_MessageBoxWarning)
                              .pixmap(QSize(size, size), devicePixelRatioF()));
  planNotice_->setAlignment(Qt::AlignLeading | Qt::AlignVCenter);
  planNotice_->setAccessibleDescription(tr("To be considered"));
  planNotice_->setProperty("lines", 2);
  auto *notice = new QWidget;
  auto *layout = new QHBoxLayout(notice);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(warningSign_);
  layout->addWidget(planNotice_, 1);
  return notice;
}

QWidget *ResultsWindow::MakeQuestion() {
  planSummary_->setAlignment(Qt::AlignLeading | Qt::AlignVCenter);
  planSummary_->setAccessibleDescription(tr("What would happen"));
  planSummary_->setProperty("lines", 2);
  flatten_->setToolTip(tr("Do what the list says"));
  cancel_->setToolTip(tr("Do nothing (Esc)"));
  connect(flatten_, &QPushButton::clicked, this, &ResultsWindow::CarryOut);
  connect(cancel_, &QPushButton::clicked, this, &QWidget::close);
  auto *question = new QWidget;
  auto *layout = new QHBoxLayout(question);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(planSummary_, 1);
  for (QPushButton *button : {cancel_, flatten_}) {
    button->setAutoDefault(true);
    layout->addWidget(button);
  }
  return question;
}

void ResultsWindow::MakeTable() {
  table_->setModel(model_);
  table_->setItemDelegate(new NameDelegate(table_));
  table_->setAccessibleName(tr("Results"));
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setAlternatingRowColors(true);
  table_->setShowGrid(false);
  table_->setWordWrap(false);
  table_->setTabKeyNavigation(false);
  table_->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
  // All rows are of one height: none has to be asked for its own.
  QHeaderView *heights = table_->verticalHeader();
  heights->setVisible(false);
  heights->setSectionResizeMode(QHeaderView::Fixed);
  heights->setDefaultSectionSize(table_->fontMetrics().height() + 8);

  QHeaderView *header = table_->horizontalHeader();
  header->setDefaultAlignment(Qt::AlignLeading | Qt::AlignVCenter);
  header->setHighlightSections(false);
  header->setStretchLastSection(true);
  header->setSectionsClickable(true);
  header->setSortIndicatorShown(true);
  header->setSortIndicatorClearable(true);
  header->setSortIndicator(-1, Qt::AscendingOrder);
  header->resizeSection(0, width() * 2 / 5);
  header->resizeSection(1, table_->fontMetrics().averageCharWidth() * 34);
  connect(header, &QHeaderView::sortIndicatorChanged, this,
          [this](int column, Qt::SortOrder order) {
            KeepCurrentRow([&] { model_->sort(column, order); });
          });

  // Not where a style has a single click activate an item: rows are clicked to mark them.
  connect(table_, &QAbstractItemView::doubleClicked, open_, &QAction::trigger);
  open_->setShortcuts({Qt::Key_Return, Qt::Key_Enter});
  for (QAction *action : {open_, copy_}) {
    action->setShortcutContext(Qt::WidgetShortcut);
    table_->addAction(action);
  }
  table_->setContextMenuPolicy(Qt::ActionsContextMenu);
  addAction(save_);
}

void ResultsWindow::Follow() {
  QElapsedTimer watch;
  watch.start();
  const bool isRunOn = IsTimerFiring();
  ResultsToCome toCome = ResultsToCome::kNone;
  const int scrolled = table_->verticalScrollBar()->value();
  KeepCurrentRow([&] { toCome = model_->Follow(isRunOn ? kLookDuringRun : kLook); });
  table_->verticalScrollBar()->setValue(scrolled);
  ShowState();
  if (toCome == ResultsToCome::kNone) return;
  if (toCome == ResultsToCome::kNow && !isRunOn) return nextLook_.start(0);
  nextLook_.start(std::max(kBetweenLooks, kTimesBetweenLooks * static_cast<int>(watch.elapsed())));
}

template <typename Work>
void ResultsWindow::KeepCurrentRow(Work work) {
  std::optional<std::size_t> number;
  const QModelIndex current = table_->currentIndex();
  if (current.isValid()) number = list_.NumberOf(static_cast<std::size_t>(current.row()));
  const int column = current.column();
  work();
  if (table_->currentIndex().isValid() || model_->rowCount() == 0) return;
  for (int row = 0; number && row < model_->rowCount(); ++row) {
    if (list_.NumberOf(static_cast<std::size_t>(row)) != *number) continue;
    return table_->setCurrentIndex(model_->index(row, column));
  }
  // A key does something at once, and it is seen to what.
  table_->setCurrentIndex(model_->index(0, 0));
}

std::optional<unsigned> ResultsWindow::WantedKind() const {
  const QVariant kind = kinds_->currentData();
  return kind.isValid() ? std::optional(kind.toUInt()) : std::nullopt;
}

void ResultsWindow::Select() {
  searchIsTyped_.stop();
  KeepCurrentRow([this] { model_->Select(WantedKind(), search_->text()); });
  ShowState();
}

void ResultsWindow::ShowState() {
  const std::vector<std::string> folders = list_.Folders();
  QString title = list_.Question() ? tr("Preview") : tr("Results");
  if (folders.size() == 1) title = tr("%1 of %2").arg(title, NameOf(folders[0]));
  if (folders.size() > 1) {
    title =
        tr("%1 of %2 and %3 more").arg(title, NameOf(folders[0]), NumberText(folders.size() - 1));
  }
  setWindowTitle(TitleText(title));
  ShowKinds();
  ShowQuestion();
  const QString missing = QString::fromStdString(list_.WhatIsMissing());
  missing_->ShowText(missing);
  missing_->setVisible(!missing.isEmpty());
  const bool isAny = model_->rowCount() > 0;
  for (QAction *action : {open_, copy_, save_}) action->setEnabled(isAny);
}

/// The choices stay as they are while their list is open under the pointer; only numbers change.
void ResultsWindow::ShowKinds() {
  const std::vector<ResultKind> kinds = list_.Kinds();
  const std::optional<unsigned> wanted = WantedKind();
  std::size_t all = 0;
  for (const ResultKind &kind : kinds) all += kind.count;
  QList<std::pair<QString, QVariant>> choices = {{tr("All (%1)").arg(NumberText(all)), QVariant()}};
  bool isWantedThere = !wanted;
  for (const ResultKind &kind : kinds) {
    QString name = QString::fromStdString(kind.name);
    name[0] = name[0].toUpper();
    choices.append({tr("%1 (%2)").arg(name, NumberText(kind.count)), kind.kind});
    isWantedThere = isWantedThere || kind.kind == wanted;
  }
  if (!isWantedThere) {
    const QString before = kinds_->currentText();
    choices.append({before.left(before.lastIndexOf(QLatin1String(" ("))) + tr(" (0)"), *wanted});
  }
  for (qsizetype i = 0; i < choices.size(); ++i) {
    const int place = static_cast<int>(i);
    if (place == kinds_->count()) kinds_->addItem(QString());
    if (kinds_->itemText(place) != choices[i].first) kinds_->setItemText(place, choices[i].first);
    kinds_->setItemData(place, choices[i].second);
    if (choices[i].second == (wanted ? QVariant(*wanted) : QVariant()))
      kinds_->setCurrentIndex(place);
  }
  while (kinds_->count() > choices.size()) kinds_->removeItem(kinds_->count() - 1);

  const auto shown = static_cast<std::size_t>(model_->rowCount());
  state_->ShowText(shown != all ? tr("%1 of %2 items").arg(NumberText(shown), NumberText(all))
                   : all == 0   ? tr("No items")
                   : all == 1   ? tr("1 item")
                                : tr("%1 items").arg(NumberText(all)));
}

void ResultsWindow::ShowQuestion() {
  const auto question = list_.Question();
  if (!question && question_->isVisible()) table_->setFocus();
  question_->setVisible(question.has_value());
  notice_->setVisible(question && !question->notice.empty());
  table_->setAccessibleName(question ? tr("Preview") : tr("Results"));
  if (!question) return;
  warningSign_->setVisible(question->isGrave);
  planNotice_->ShowText(QString::fromLocal8Bit(question->notice));
  planSummary_->ShowText(QString::fromStdString(question->summary));
  flatten_->setEnabled(question->canBeCarriedOut);
}

void ResultsWindow::CarryOut() {
  list_.CarryOut();
  // What comes of it is seen here; until then it can be called off.
  cancel_->setFocus();
  ShowQuestion();
}

void ResultsWindow::OpenFolder() {
  const QModelIndex current = table_->currentIndex();
  if (current.isValid()) ShowItemInFolder(list_.PathOf(static_cast<std::size_t>(current.row())));
}

void ResultsWindow::CopyPaths() {
  QModelIndexList marked = table_->selectionModel()->selectedRows();
  std::ranges::sort(marked, {}, &QModelIndex::row);
  QStringList paths;
  for (const QModelIndex &index : marked) {
    paths.append(QString::fromLocal8Bit(list_.PathOf(static_cast<std::size_t>(index.row()))));
  }
  if (!paths.isEmpty()) QApplication::clipboard()->setText(paths.join(QLatin1Char('\n')));
}

/// Beside the event loop, never in one of its own: a run may be on.
void ResultsWindow::AskWhereToSave() {
  const bool isPlan = list_.Question().has_value();
  auto *dialog =
      new QFileDialog(this, isPlan ? tr("Save Preview") : tr("Save Results"), QDir::homePath());
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setAcceptMode(QFileDialog::AcceptSave);
  const QString anyName = isPlan ? tr("preview") : tr("results");
  QStringList filters;
  for (const SavedFormat &saved : kSavedFormats) {
    filters.append(QStringLiteral("%1 (*.%2)").arg(tr(saved.name), QLatin1String(saved.suffix)));
  }
  const auto chosen = [dialog, filters]() -> const SavedFormat & {
    return kSavedFormats[std::max(0,
                                  static_cast<int>(filters.indexOf(dialog->selectedNameFilter())))];
  };
  const auto nameForFormat = [dialog, chosen, anyName] {
    const QLatin1String suffix(chosen().suffix);
    dialog->setDefaultSuffix(suffix);
    const QStringList names = dialog->selectedFiles();
    const QString name = names.isEmpty() ? anyName : QFileInfo(names[0]).completeBaseName();
    dialog->selectFile(name + QLatin1Char('.') + suffix);
  };
  dialog->setNameFilters(filters);
  dialog->selectFile(anyName);
  nameForFormat();
  connect(dialog, &QFileDialog::filterSelected, this, nameForFormat);
  connect(dialog, &QFileDialog::fileSelected, this,
          [this, chosen](const QString &path) { Save(path, FormatOf(path, chosen())); });
  BringUp(*dialog);
}

void ResultsWindow::Save(const QString &path, ResultFormat format) {
  QSaveFile file(path);
  const bool isSaved = file.open(QIODevice::WriteOnly) &&
                       list_.Save(format,
                                  [&file](std::string_view text) {
                                    const auto size = static_cast<qint64>(text.size());
                                    return file.write(text.data(), size) == size;
                                  }) &&
                       file.commit();
  state_->ShowText(isSaved ? tr("%1: saved").arg(path)
                           : tr("%1: could not be saved: %2").arg(path, file.errorString()));
}

void ShowResultsWindow(CResultList *list) {
  static QPointer<ResultsWindow> window;
  if (window == nullptr) window = new ResultsWindow(list);
  window->Begin();
  BringUp(*window);
}
