// A window that starts a drag of the files named on its command line when pressed, as a
// file manager would. Prints "ready X Y" (the global centre of the window) once it can be
// pressed, and "dropped ACTION" when the drag ends.
//
// With --in-pieces it only takes the drag selection and hands its "text/uri-list" out in
// pieces, as sources of long lists do, then prints "pieces N"; with --endless the pieces
// never end, and it prints "stalled" once the reader stops taking them.
#include <QDrag>
#include <QGuiApplication>
#include <QMimeData>
#include <QRasterWindow>
#include <QSocketNotifier>
#include <QTimer>
#include <QUrl>

// Xlib's headers define macros that clash with Qt's: they come last.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <cstdio>

namespace {

void say(const char* line, int number = -1) {
    if (number < 0)
        std::printf("%s\n", line);
    else
        std::printf("%s %d\n", line, number);
    std::fflush(stdout);
}

// The owner of the drag selection on a connection of its own, answering every request for
// the list with an incremental transfer of small pieces.
class PiecesOwner {
public:
    static constexpr qsizetype pieceBytes = 64 * 1024;
    // Tiny pieces, answered at once, for as long as the reader takes them.
    static constexpr qsizetype endlessPieceBytes = 16;

    PiecesOwner(QByteArray uriList, bool endless)
        : list_(std::move(uriList))
        , endless_(endless)
        , display_(XOpenDisplay(nullptr)) {
        window_ = XCreateSimpleWindow(display_, XDefaultRootWindow(display_), 0, 0, 1, 1, 0, 0, 0);
        selection_ = XInternAtom(display_, "XdndSelection", False);
        uriListType_ = XInternAtom(display_, "text/uri-list", False);
        incremental_ = XInternAtom(display_, "INCR", False);
        notifier_ = new QSocketNotifier(XConnectionNumber(display_), QSocketNotifier::Read);
        QObject::connect(notifier_, &QSocketNotifier::activated, [this] { handleEvents(); });
        stall_.setSingleShot(true);
        QObject::connect(&stall_, &QTimer::timeout, [] { say("stalled"); });
    }

    void take() {
        XSetSelectionOwner(display_, selection_, window_, CurrentTime);
        XFlush(display_);
    }

private:
    void handleEvents() {
        while (XPending(display_) > 0) {
            XEvent event;
            XNextEvent(display_, &event);
            if (event.type == SelectionRequest)
                answer(event.xselectionrequest);
            else if (event.type == PropertyNotify && event.xproperty.state == PropertyDelete &&
                     event.xproperty.window == requestor_ && event.xproperty.atom == property_)
                sendPiece();
        }
    }

    void answer(const XSelectionRequestEvent& request) {
        const bool known = request.target == uriListType_;
        if (known) {
            requestor_ = request.requestor;
            property_ = request.property;
            sent_ = 0;
            pieces_ = 0;
            XSelectInput(display_, requestor_, PropertyChangeMask);
            const long size = static_cast<long>(list_.size());
            XChangeProperty(display_, requestor_, property_, incremental_, 32, PropModeReplace,
                            reinterpret_cast<const unsigned char*>(&size), 1);
        }
        XSelectionEvent notify{};
        notify.type = SelectionNotify;
        notify.requestor = request.requestor;
        notify.selection = request.selection;
        notify.target = request.target;
        notify.property = known ? request.property : None;
        notify.time = request.time;
        XSendEvent(display_, request.requestor, False, NoEventMask,
                   reinterpret_cast<XEvent*>(&notify));
        XFlush(display_);
    }

    // The reader took the last piece (or the announcement): the next one, or the empty end.
    void sendPiece() {
        if (requestor_ == None)
            return;
        const QByteArray piece =
            endless_ ? QByteArray(endlessPieceBytes, 'x') : list_.mid(sent_, pieceBytes);
        sent_ += piece.size();
        XChangeProperty(display_, requestor_, property_, uriListType_, 8, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(piece.constData()),
                        static_cast<int>(piece.size()));
        XFlush(display_);
        if (piece.isEmpty()) {
            stall_.stop();
            say("pieces", pieces_);
            requestor_ = None;
            return;
        }
        ++pieces_;
        stall_.start(500);
    }

    QByteArray list_;
    bool endless_;
    Display* display_;
    Window window_ = None;
    Atom selection_ = None;
    Atom uriListType_ = None;
    Atom incremental_ = None;
    Window requestor_ = None;
    Atom property_ = None;
    qsizetype sent_ = 0;
    int pieces_ = 0;
    QSocketNotifier* notifier_;
    QTimer stall_;
};

class DragWindow : public QRasterWindow {
public:
    DragWindow(QList<QUrl> urls, std::unique_ptr<PiecesOwner> piecesOwner)
        : urls_(std::move(urls))
        , piecesOwner_(std::move(piecesOwner)) {}

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
        if (piecesOwner_)
            return piecesOwner_->take();
        auto* data = new QMimeData;
        data->setUrls(urls_);
        auto* drag = new QDrag(this);
        drag->setMimeData(data);
        const Qt::DropAction action = drag->exec(Qt::CopyAction | Qt::MoveAction);
        say("dropped", static_cast<int>(action));
    }

private:
    QList<QUrl> urls_;
    std::unique_ptr<PiecesOwner> piecesOwner_;
    bool announced_ = false;
};

} // namespace

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    QStringList arguments = QGuiApplication::arguments().mid(1);
    const bool endless = arguments.removeAll(QStringLiteral("--endless")) > 0;
    const bool inPieces = arguments.removeAll(QStringLiteral("--in-pieces")) > 0 || endless;
    QList<QUrl> urls;
    for (const QString& path : arguments)
        urls << QUrl::fromLocalFile(path);
    std::unique_ptr<PiecesOwner> piecesOwner;
    if (inPieces) {
        QByteArray list;
        for (const QUrl& url : urls)
            list += url.toEncoded() + "\r\n";
        piecesOwner = std::make_unique<PiecesOwner>(list, endless);
    }
    DragWindow window(urls, std::move(piecesOwner));
    window.setGeometry(100, 100, 240, 240);
    window.show();
    return QGuiApplication::exec();
}
