#include "platform/desktop/windows/interface_file.h"

#include <QCoreApplication>
#include <QFile>
#include <QUiLoader>

#include "platform/desktop/widgets/busy_indicator.h"
#include "platform/desktop/widgets/drop_area.h"
#include "platform/desktop/widgets/proxy_icon.h"
#include "platform/desktop/widgets/scroll_pane.h"
#include "platform/desktop/widgets/status_line.h"

namespace {

/// Knows the program's own widgets besides those of Qt.
class Loader final : public QUiLoader {
 public:
  QWidget *createWidget(const QString &className, QWidget *parent, const QString &name) override {
    QWidget *widget = nullptr;
    if (className == QLatin1String("StatusLine")) widget = new StatusLine(parent);
    if (className == QLatin1String("BusyIndicator")) widget = new BusyIndicator(parent);
    if (className == QLatin1String("DropArea")) widget = new DropArea(parent);
    if (className == QLatin1String("ProxyIcon")) widget = new ProxyIcon(parent);
    if (className == QLatin1String("ScrollPane")) widget = new ScrollPane(parent);
    if (widget == nullptr) return QUiLoader::createWidget(className, parent, name);
    widget->setObjectName(name);
    return widget;
  }
};

}  // namespace

OSType CodeProperty(const QObject &object, const char *name) {
  const QByteArray text = object.property(name).toString().toLatin1();
  if (text.size() != 4) return 0;
  return FourChars({text[0], text[1], text[2], text[3], '\0'});
}

QWidget *LoadWidget(const QString &path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return nullptr;
  // As it is made a loader looks for widgets in Qt's plug-ins, and would load half of Qt Quick for
  // a window that has nothing from there.
  const QStringList pluginPaths = QCoreApplication::libraryPaths();
  QCoreApplication::setLibraryPaths({});
  Loader loader;
  QCoreApplication::setLibraryPaths(pluginPaths);
  return loader.load(&file);
}
