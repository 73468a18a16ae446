#pragma once

#include <QObject>
#include <QString>

#include <functional>
#include <optional>

class QQuickWindow;

namespace kelvane {

class Appearance;
class Store;

// Renders the main window to PNG files from demonstration queues, in a light and a dark
// pass, then quits (or stays, when asked). Started by KELVANE_SNAPSHOT_DIR at launch.
class SnapshotMode : public QObject {
    Q_OBJECT

public:
    SnapshotMode(QString directory, bool stay, Store& store, Appearance& appearance,
                 QQuickWindow& window, QObject* parent = nullptr);

    // The snapshot directory when the environment asks for snapshots.
    static std::optional<QString> requestedDirectory();
    static bool stayRequested();

    // Creates the directory and runs the whole sequence on this thread's event loop.
    void start();

    // The base names written, in order, without ".png".
    static QStringList shotNames();

signals:
    void finished();

private:
    struct Step {
        int delayMs;
        std::function<void()> action;
    };
    void runFrom(std::size_t step);
    void shoot(const QString& name);
    void stagePass(bool dark);

    QString directory_;
    bool stay_;
    Store& store_;
    Appearance& appearance_;
    QQuickWindow& window_;
    std::vector<Step> steps_;
};

} // namespace kelvane
