#pragma once

#include <QImage>
#include <QObject>
#include <QString>

#include <filesystem>
#include <functional>
#include <optional>

class QQmlEngine;
class QQuickWindow;

namespace kelvane {

class Appearance;
class Store;

// Renders the main window, the tray panel and Settings to PNG files from demonstration queues, in a
// light and a dark pass, then quits (or stays, when asked). Started by KELVANE_SNAPSHOT_DIR at
// launch.
class SnapshotMode : public QObject {
    Q_OBJECT

public:
    SnapshotMode(QString directory, bool stay, Store& store, Appearance& appearance,
                 QQuickWindow& window, QQmlEngine& engine, QObject* parent = nullptr);

    // The snapshot directory when the environment asks for snapshots.
    static std::optional<QString> requestedDirectory();
    static bool stayRequested();

    // Creates the directory and runs the whole sequence on this thread's event loop.
    void start();

    // How the Drop Dock draws itself for these files; without it, no dock shots are written.
    using DockPicture = std::function<QImage(std::vector<std::filesystem::path>, bool dark)>;
    void setDockPicture(DockPicture picture) { dockPicture_ = std::move(picture); }

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
    // Writes one view drawn off-screen, not the main window.
    void render(const QString& view, bool dark, std::optional<int> width, const QString& name);
    void stagePass(bool dark);
    void shootDock(std::vector<std::filesystem::path> urls, bool dark, const QString& name);

    QString directory_;
    bool stay_;
    Store& store_;
    Appearance& appearance_;
    QQuickWindow& window_;
    QQmlEngine& engine_;
    std::vector<Step> steps_;
    DockPicture dockPicture_;
};

} // namespace kelvane
