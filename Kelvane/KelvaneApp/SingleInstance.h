#pragma once

#include "KelvaneApp/OpenRequest.h"

#include <QObject>
#include <QString>

#include <functional>

class QLocalServer;
class QLocalSocket;

namespace kelvane {

// One running application per user: the first launch listens on a socket in the user's
// runtime folder, and later launches hand it their files and end.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    using Receiver = std::function<void(const OpenRequest&)>;

    explicit SingleInstance(Receiver receiver, QObject* parent = nullptr);
    ~SingleInstance() override;

    // "$XDG_RUNTIME_DIR/kelvane.socket", or a private folder of the user's in the temporary
    // folder where there is no runtime folder.
    static QString socketPath();

    enum class Forwarded { taken, noInstance, refused };
    // Hands the request to the instance listening at path, waiting for it to confirm.
    // noInstance when none listens there (a socket left by a crashed one included).
    static Forwarded forward(const OpenRequest& request, const QString& path, int timeoutMs = 3000);

    // Listens at path, first removing a socket no instance answers on. False when it can't.
    bool listen(const QString& path);

private:
    void accept();
    void read(QLocalSocket* connection);

    Receiver receiver_;
    QLocalServer* server_;
};

} // namespace kelvane
