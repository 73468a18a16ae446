#include "KelvaneApp/BatchNotifier.h"

#include "MainViews/ByteCount.h"
#include "Store/Store.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QWindow>

#include <algorithm>

namespace kelvane {
namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");

QString files(qsizetype count) {
    return count == 1 ? QStringLiteral("1 file") : QStringLiteral("%1 files").arg(count);
}

QString quoted(const Job& job) {
    return QStringLiteral("“") + job.title() + QStringLiteral("”");
}

} // namespace

BatchNotifier::BatchNotifier(Store& store, QWindow& window, std::function<void()> showWindow,
                             QObject* parent)
    : QObject(parent)
    , store_(store)
    , window_(window)
    , showWindow_(std::move(showWindow)) {
    connect(&store_, &Store::jobsChanged, this, &BatchNotifier::follow);
    connect(&store_, &Store::jobsUpdated, this, &BatchNotifier::follow);
    QDBusConnection::sessionBus().connect(service, path, service, QStringLiteral("ActionInvoked"),
                                          this, SLOT(actionInvoked(uint, QString)));
}

BatchNotifier::Text BatchNotifier::describe(const std::vector<Job>& batch) {
    std::vector<const Job*> failed;
    qsizetype converted = 0;
    std::int64_t saved = 0;
    for (const Job& job : batch) {
        if (job.state == Job::State::failed)
            failed.push_back(&job);
        if (job.state == Job::State::done) {
            ++converted;
            saved += std::max<std::int64_t>(0, job.inputBytes - job.outputBytes);
        }
    }
    Text text;
    text.summary = files(converted) + QStringLiteral(" converted");
    if (saved > 0)
        text.summary += QStringLiteral(" · saved ") + ByteCount::format(saved);
    if (failed.empty())
        return text;
    text.summary = converted == 0
                       ? files(static_cast<qsizetype>(failed.size())) + QStringLiteral(" failed")
                       : text.summary + QStringLiteral(" · %1 failed").arg(failed.size());
    QStringList names;
    for (const Job* job : failed)
        names << quoted(*job);
    if (names.size() > 3)
        names = names.mid(0, 3) << QStringLiteral("%1 more").arg(failed.size() - 3);
    text.body = QStringLiteral("Couldn’t convert ") + names.join(QStringLiteral(", ")) +
                QStringLiteral(".");
    if (failed.size() == 1 && failed.front()->message)
        text.body = *failed.front()->message;
    return text;
}

// A batch ends when nothing waits or runs any more; it holds every job seen active since
// the queue was last idle that is still in the list.
void BatchNotifier::follow() {
    for (const Job& job : store_.jobs())
        if (!job.isFinished())
            batch_.insert(job.id);
    if (store_.activeCount() != 0 || batch_.isEmpty())
        return;
    std::vector<Job> finished;
    for (const Job& job : store_.jobs())
        if (batch_.contains(job.id))
            finished.push_back(job);
    batch_.clear();
    if (!finished.empty() && !window_.isActive())
        notify(describe(finished));
}

void BatchNotifier::notify(const Text& text) {
    QDBusMessage call =
        QDBusMessage::createMethodCall(service, path, service, QStringLiteral("Notify"));
    call << QStringLiteral("Kelvane") << lastNotification_ << QStringLiteral("kelvane")
         << text.summary << text.body
         << QStringList{QStringLiteral("default"), QStringLiteral("Show Kelvane")} << QVariantMap()
         << -1;
    auto* watcher =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* done) {
                const QDBusPendingReply<uint> reply = *done;
                if (reply.isValid())
                    lastNotification_ = reply.value();
                done->deleteLater();
            });
}

void BatchNotifier::actionInvoked(uint id, const QString& action) {
    if (id == lastNotification_ && action == QLatin1String("default") && showWindow_)
        showWindow_();
}

} // namespace kelvane
