#include "platform/desktop/windows/waiting_folders.h"

#include <QObject>

#include "platform/common/event_queue.h"
#include "platform/desktop/widgets/status_line.h"
#include "platform/desktop/windows/main_window.h"

void ShowWaitingFolders() {
  static std::int32_t shown = 0;
  const std::int32_t waiting = WaitingFolders();
  const QWidget *window = MainWindow();
  if (waiting == shown || window == nullptr) return;
  auto *line = window->findChild<StatusLine *>(QStringLiteral("waitingFolders"));
  if (line == nullptr) return;
  shown = waiting;
  line->ShowText(waiting == 0   ? QString()
                 : waiting == 1 ? QObject::tr("1 more folder waits")
                                : QObject::tr("%1 more folders wait").arg(waiting));
}
