#pragma once

#include "Store/Job.h"

#include <QObject>
#include <QSet>
#include <QUuid>

#include <functional>

class QWindow;

namespace kelvane {

class Store;

// One desktop notification when a batch of jobs ends while the main window is not in
// front: "3 files converted · saved 12.4 MB", or one naming what failed. Never one per
// file. Clicking it shows the window.
class BatchNotifier : public QObject {
    Q_OBJECT

public:
    BatchNotifier(Store& store, QWindow& window, std::function<void()> showWindow,
                  QObject* parent = nullptr);

    struct Text {
        QString summary;
        QString body;
    };
    // What the notification says about these finished jobs.
    static Text describe(const std::vector<Job>& batch);

private slots:
    void actionInvoked(uint id, const QString& action);

private:
    void follow();
    void notify(const Text& text);

    Store& store_;
    QWindow& window_;
    std::function<void()> showWindow_;
    QSet<QUuid> batch_; // every job seen waiting or running since the queue was last idle
    uint lastNotification_ = 0;
};

} // namespace kelvane
