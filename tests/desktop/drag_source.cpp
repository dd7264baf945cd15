// A program to drag from: drag_source FORMAT TEXT opens a small window that is one draggable thing,
// TEXT in the format FORMAT.
#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QWidget>
#include <cstdio>

namespace {

class DragSource final : public QWidget {
 public:
  DragSource(QString format, QByteArray text) : format_(std::move(format)), text_(std::move(text)) {
    setWindowFlag(Qt::X11BypassWindowManagerHint);
    setGeometry(0, 0, 80, 80);
    setWindowTitle(QStringLiteral("drag source"));
  }

 protected:
  void mousePressEvent(QMouseEvent *) override {}

  void mouseMoveEvent(QMouseEvent *event) override {
    if (!(event->buttons() & Qt::LeftButton)) return;
    auto *dragged = new QMimeData;
    dragged->setData(format_, text_);
    auto *drag = new QDrag(this);
    drag->setMimeData(dragged);
    std::printf("%d\n", static_cast<int>(drag->exec(Qt::CopyAction | Qt::MoveAction)));
    std::fflush(stdout);
  }

 private:
  QString format_;
  QByteArray text_;
};

}  // namespace

int main(int argc, char **argv) {
  if (argc != 3) return 2;
  int count = 1;
  QApplication application(count, argv);
  DragSource source(QString::fromLocal8Bit(argv[1]), argv[2]);
  source.show();
  return QApplication::exec();
}
