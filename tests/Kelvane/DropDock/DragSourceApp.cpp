// A window that starts a drag of the files named on its command line when pressed, as a
// file manager would. Prints "ready X Y" (the global centre of the window) once it can be
// pressed.
#include <QDrag>
#include <QGuiApplication>
#include <QMimeData>
#include <QRasterWindow>
#include <QUrl>

#include <cstdio>

namespace {

class DragWindow : public QRasterWindow {
public:
    explicit DragWindow(QList<QUrl> urls)
        : urls_(std::move(urls)) {}

protected:
    void exposeEvent(QExposeEvent* event) override {
        QRasterWindow::exposeEvent(event);
        if (!isExposed() || announced_)
            return;
        announced_ = true;
        const QPoint centre = mapToGlobal(QPoint(width() / 2, height() / 2));
        std::printf("ready %d %d\n", centre.x(), centre.y());
        std::fflush(stdout);
    }

    void mousePressEvent(QMouseEvent*) override {
        auto* data = new QMimeData;
        data->setUrls(urls_);
        auto* drag = new QDrag(this);
        drag->setMimeData(data);
        const Qt::DropAction action = drag->exec(Qt::CopyAction | Qt::MoveAction);
        std::printf("dropped %d\n", static_cast<int>(action));
        std::fflush(stdout);
    }

private:
    QList<QUrl> urls_;
    bool announced_ = false;
};

} // namespace

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    QList<QUrl> urls;
    for (const QString& path : QGuiApplication::arguments().mid(1))
        urls << QUrl::fromLocalFile(path);
    DragWindow window(urls);
    window.setGeometry(100, 100, 240, 240);
    window.show();
    return QGuiApplication::exec();
}
