#include "KelvaneApp/SingleInstance.h"

#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTimer>
#include <QtEndian>

#include <unistd.h>

namespace kelvane {
namespace {

constexpr int connectionLifetimeMs = 2000; // a sender that stalls longer is dropped
const QByteArray taken("ok");

} // namespace

SingleInstance::SingleInstance(Receiver receiver, QObject* parent)
    : QObject(parent)
    , receiver_(std::move(receiver))
    , server_(new QLocalServer(this)) {
    connect(server_, &QLocalServer::newConnection, this, &SingleInstance::accept);
}

SingleInstance::~SingleInstance() {
    server_->close(); // removes the socket file, so the next launch listens at once
}

QString SingleInstance::socketPath() {
    QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (folder.isEmpty() || !QDir(folder).exists()) {
        folder = QDir::temp().filePath(QStringLiteral("kelvane-%1").arg(getuid()));
        QDir().mkpath(folder);
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    return QDir(folder).filePath(QStringLiteral("kelvane.socket"));
}

SingleInstance::Forwarded SingleInstance::forward(const OpenRequest& request, const QString& path,
                                                  int timeoutMs) {
    QLocalSocket socket;
    socket.connectToServer(path);
    if (!socket.waitForConnected(timeoutMs))
        return Forwarded::noInstance;
    socket.write(request.toMessage());
    socket.waitForBytesWritten(timeoutMs);
    while (socket.bytesAvailable() < taken.size() && socket.waitForReadyRead(timeoutMs)) {
    }
    return socket.read(taken.size()) == taken ? Forwarded::taken : Forwarded::refused;
}

bool SingleInstance::listen(const QString& path) {
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    if (server_->listen(path))
        return true;
    // Only an instance that does not answer left this socket behind: a live one would
    // have taken the request already.
    QLocalServer::removeServer(path);
    return server_->listen(path);
}

void SingleInstance::accept() {
    while (QLocalSocket* connection = server_->nextPendingConnection()) {
        connection->setReadBufferSize(4 + OpenRequest::maximumBodyBytes);
        connect(connection, &QLocalSocket::disconnected, connection, &QObject::deleteLater);
        connect(connection, &QLocalSocket::readyRead, this,
                [this, connection] { read(connection); });
        QTimer::singleShot(connectionLifetimeMs, connection, [connection] { connection->abort(); });
    }
}

// The whole message or nothing: a length past the limit or a body that is no request ends
// the connection and queues nothing.
void SingleInstance::read(QLocalSocket* connection) {
    if (connection->bytesAvailable() < 4)
        return;
    const QByteArray header = connection->peek(4);
    const auto length = static_cast<qsizetype>(qFromBigEndian<quint32>(header.constData()));
    if (length > OpenRequest::maximumBodyBytes) {
        connection->abort();
        return;
    }
    if (connection->bytesAvailable() < 4 + length)
        return;
    connection->skip(4);
    const auto request = OpenRequest::fromBody(connection->read(length));
    if (!request) {
        connection->abort();
        return;
    }
    connection->write(taken);
    connection->flush();
    connection->disconnectFromServer();
    receiver_(*request);
}

} // namespace kelvane
