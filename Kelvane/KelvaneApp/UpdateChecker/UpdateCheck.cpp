#include "KelvaneApp/UpdateChecker/UpdateCheck.h"

#include "KelvaneApp/Alerts.h"
#include "KelvaneApp/UpdateChecker/ReleaseFeed.h"
#include "KelvaneApp/UpdateChecker/VersionOrder.h"

#include <QDesktopServices>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <memory>

namespace kelvane::UpdateChecker {
namespace {

void tell(const Setup& setup, const Alert& alert, std::function<void(int)> answered) {
    if (setup.alerts != nullptr)
        setup.alerts->present(alert, std::move(answered));
    else
        answered(1);
}

void offer(const Release& release, const Setup& setup, const std::function<void()>& done) {
    const QString informative = release.notes.value_or(QStringLiteral("You have ") +
                                                       setup.currentVersion + QStringLiteral("."));
    tell(setup,
         {QStringLiteral("Kelvane ") + release.version + QStringLiteral(" is available"),
          informative,
          {QStringLiteral("Download"), QStringLiteral("Later")}},
         [url = release.url, setup, done](int button) {
             const QUrl page(url, QUrl::StrictMode);
             if (button == 0 && page.isValid() && !page.isRelative() && setup.openPage)
                 setup.openPage(page);
             done();
         });
}

void answer(const std::optional<Release>& release, bool userInitiated, const Setup& setup,
            const std::function<void()>& done) {
    if (!release) {
        if (userInitiated)
            tell(setup, {QStringLiteral("Couldn’t check for updates"), {}, {}},
                 [done](int) { done(); });
        else
            done();
        return;
    }
    if (isNewer(release->version, setup.currentVersion)) {
        offer(*release, setup, done);
        return;
    }
    if (!userInitiated) {
        done();
        return;
    }
    tell(setup,
         {QStringLiteral("You’re up to date"),
          QStringLiteral("Kelvane ") + setup.currentVersion +
              QStringLiteral(" is the newest version."),
          {}},
         [done](int) { done(); });
}

} // namespace

Setup Setup::forThisBuild(QNetworkAccessManager& network, Alerts& alerts) {
    return {QStringLiteral(KELVANE_UPDATE_FEED_URL), QStringLiteral(KELVANE_VERSION), &network,
            &alerts, [](const QUrl& page) {
                QDesktopServices::openUrl(page);
            }};
}

void check(bool userInitiated, const Setup& setup, std::function<void()> done) {
    if (!done)
        done = [] {
        };
    const QUrl feed(setup.feedURL, QUrl::StrictMode);
    if (setup.feedURL.isEmpty() || !feed.isValid() || feed.isRelative() ||
        setup.network == nullptr) {
        if (userInitiated)
            tell(setup, {QStringLiteral("Updates aren’t available in this build"), {}, {}},
                 [done](int) { done(); });
        else
            done();
        return;
    }
    QNetworkRequest request(feed);
    request.setTransferTimeout(setup.timeoutMs);
    QNetworkReply* reply = setup.network->get(request);
    // A body past the limit is no feed: stop receiving it at once.
    auto tooLarge = std::make_shared<bool>(false);
    QObject::connect(reply, &QNetworkReply::downloadProgress, reply,
                     [reply, tooLarge](qint64 received, qint64) {
                         if (received > maximumFeedBytes) {
                             *tooLarge = true;
                             reply->abort();
                         }
                     });
    QObject::connect(
        reply, &QNetworkReply::finished, reply, [reply, tooLarge, userInitiated, setup, done] {
            reply->deleteLater();
            // Only the body counts, whatever the status, once a server answered.
            const bool answered =
                reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid();
            std::optional<Release> release;
            if (answered && !*tooLarge && reply->error() != QNetworkReply::OperationCanceledError)
                release = decodeRelease(reply->readAll());
            answer(release, userInitiated, setup, done);
        });
}

} // namespace kelvane::UpdateChecker
