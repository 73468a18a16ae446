#pragma once

#include <QString>
#include <QUrl>

#include <functional>

class QNetworkAccessManager;

namespace kelvane {

class Alerts;

namespace UpdateChecker {

// What a check needs: the build's feed address and version, the network, where alerts go
// and how a download page is opened.
struct Setup {
    QString feedURL; // empty: updates are off in this build
    QString currentVersion;
    QNetworkAccessManager* network = nullptr;
    Alerts* alerts = nullptr;
    std::function<void(const QUrl&)> openPage;
    int timeoutMs = 10000;

    // The feed address and version compiled into this build, the default browser.
    static Setup forThisBuild(QNetworkAccessManager& network, Alerts& alerts);
};

// Asks the feed whether a newer release exists, with one GET, and tells the user through
// alerts. A quiet check speaks only of a newer release; one the user asked for always
// ends with an alert. Returns at once; the answer comes through the event loop. `done` is
// called when the check is over, alerts answered.
void check(bool userInitiated, const Setup& setup, std::function<void()> done = {});

} // namespace UpdateChecker
} // namespace kelvane
