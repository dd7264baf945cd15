#include "platform/desktop/waiting_folders.h"

#include <QObject>

#include "platform/common/event_queue.h"
#include "platform/desktop/status_line.h"
#include "platform/desktop/window.h"

void ShowWaitingFolders() {
  static std::int32_t shown = 0;
  const std::int32_t waiting = WaitingFolders();
  const QWidget *window = MainWindowWidget();
  if (waiting == shown || window == nullptr) return;
  auto *line = window->findChild<StatusLine *>(QStringLiteral("waitingFolders"));
  if (line == nullptr) return;
  shown = waiting;
  line->ShowText(waiting == 0   ? QString()
                 : waiting == 1 ? QObject::tr("1 more folder waits")
                                : QObject::tr("%1 more folders wait").arg(waiting));
}
