// A program to drag from: drag_source FORMAT TEXT [FORMAT TEXT]... opens a small window that is one
// draggable thing, TEXT in the format FORMAT. A "\0" in TEXT stands for the byte.
#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QWidget>
#include <cstdio>
#include <utility>
#include <vector>

namespace {

using Formats = std::vector<std::pair<QString, QByteArray>>;

class DragSource final : public QWidget {
 public:
  explicit DragSource(Formats formats) : formats_(std::move(formats)) {
    setWindowFlag(Qt::X11BypassWindowManagerHint);
    setGeometry(0, 0, 80, 80);
    setWindowTitle(QStringLiteral("drag source"));
  }

 protected:
  void mousePressEvent(QMouseEvent *) override {}

  void mouseMoveEvent(QMouseEvent *event) override {
    if (!(event->buttons() & Qt::LeftButton)) return;
    auto *dragged = new QMimeData;
    for (const auto &[format, text] : formats_) dragged->setData(format, text);
    auto *drag = new QDrag(this);
    drag->setMimeData(dragged);
    std::printf("%d\n", static_cast<int>(drag->exec(Qt::CopyAction | Qt::MoveAction)));
    std::fflush(stdout);
  }

 private:
  Formats formats_;
};

}  // namespace

int main(int argc, char **argv) {
  if (argc < 3 || argc % 2 == 0) return 2;
  int count = 1;
  QApplication application(count, argv);
  Formats formats;
  for (int i = 1; i < argc; i += 2)
    formats.emplace_back(QString::fromLocal8Bit(argv[i]),
                         QByteArray(argv[i + 1]).replace("\\0", QByteArray(1, '\0')));
  DragSource source(std::move(formats));
  source.show();
  return QApplication::exec();
}
