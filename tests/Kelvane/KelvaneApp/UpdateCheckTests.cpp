#include "KelvaneApp/Alerts.h"
#include "KelvaneApp/UpdateChecker/UpdateCheck.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QTcpServer>
#include <QTcpSocket>

#include <gtest/gtest.h>

namespace kelvane {
namespace {

// A real HTTP server on 127.0.0.1 answering by path; "/slow" never answers.
class FeedServer : public QObject {
public:
    FeedServer() {
        server_.listen(QHostAddress::LocalHost);
        connect(&server_, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* client = server_.nextPendingConnection())
                connect(client, &QTcpSocket::readyRead, client, [client] { answer(client); });
        });
    }
    QString url(const char* path) const {
        return QStringLiteral("http://127.0.0.1:%1%2").arg(server_.serverPort()).arg(path);
    }

private:
    static void answer(QTcpSocket* client) {
        const QByteArray request = client->readAll();
        const QByteArray path = request.split(' ').value(1);
        if (path == "/slow")
            return;
        QByteArray status = "200 OK";
        QByteArray type = "application/json";
        QByteArray body;
        if (path == "/newer")
            body = R"({"version":"0.10","url":"https://example.org/get","notes":"Faster zips."})";
        else if (path == "/null-notes")
            body = R"({"version":"1.0","url":"https://example.org/get","notes":null})";
        else if (path == "/equal")
            body = R"({"version":"0.9","url":"https://example.org/get"})";
        else if (path == "/older")
            body = R"({"version":"0.8.9","url":"https://example.org/get","extra":[1]})";
        else if (path == "/huge")
            body = R"({"version":"2.0","url":"https://example.org/get","notes":")" +
                   QByteArray(2 * 1024 * 1024, 'x') + R"("})";
        else {
            status = "404 Not Found";
            type = "text/html";
            body = "<html><body><h1>Not Found</h1></body></html>";
        }
        client->write("HTTP/1.1 " + status + "\r\nContent-Type: " + type + "\r\nContent-Length: " +
                      QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
        client->disconnectFromHost();
    }

    QTcpServer server_;
};

// Records every alert and answers with the first button.
struct RecordedAlerts : Alerts {
    void present(const Alert& alert, std::function<void(int)> answered) override {
        shown.push_back(alert);
        answered(0);
    }
    std::vector<Alert> shown;
};

struct Outcome {
    std::vector<Alert> alerts;
    std::vector<QUrl> opened;
};

Outcome check(const QString& feed, bool userInitiated, int timeoutMs = 10000) {
    QNetworkAccessManager network;
    RecordedAlerts alerts;
    Outcome outcome;
    UpdateChecker::Setup setup{feed,
                               QStringLiteral("0.9"),
                               &network,
                               &alerts,
                               [&](const QUrl& page) { outcome.opened.push_back(page); },
                               timeoutMs};
    bool done = false;
    UpdateChecker::check(userInitiated, setup, [&] { done = true; });
    QElapsedTimer timer;
    timer.start();
    while (!done && timer.elapsed() < 20000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    EXPECT_TRUE(done) << feed.toStdString();
    outcome.alerts = alerts.shown;
    return outcome;
}

void expectAlone(const Outcome& outcome, const QString& message, const QString& informative = {}) {
    ASSERT_EQ(outcome.alerts.size(), 1u) << message.toStdString();
    EXPECT_EQ(outcome.alerts[0].message, message);
    EXPECT_EQ(outcome.alerts[0].informativeText, informative);
}

TEST(UpdateCheck, NewerReleaseIsOfferedQuietOrNotAndDownloadOpensItsPage) {
    FeedServer server;
    for (const bool userInitiated : {false, true}) {
        const Outcome outcome = check(server.url("/newer"), userInitiated);
        expectAlone(outcome, QStringLiteral("Kelvane 0.10 is available"),
                    QStringLiteral("Faster zips."));
        EXPECT_EQ(outcome.alerts[0].buttons,
                  (QStringList{QStringLiteral("Download"), QStringLiteral("Later")}));
        ASSERT_EQ(outcome.opened.size(), 1u);
        EXPECT_EQ(outcome.opened[0], QUrl(QStringLiteral("https://example.org/get")));
    }
    expectAlone(check(server.url("/null-notes"), false), QStringLiteral("Kelvane 1.0 is available"),
                QStringLiteral("You have 0.9."));
}

// Nothing newer, feeds that are no release (an HTML error page, a body over the limit, a
// server that never answers, no server) and builds without a feed: one sentence when the
// user asked, nothing when the check ran by itself.
TEST(UpdateCheck, NoReleaseToOfferSpeaksOnlyWhenAskedFor) {
    FeedServer server;
    const QString upToDate = QStringLiteral("You’re up to date");
    const QString newest = QStringLiteral("Kelvane 0.9 is the newest version.");
    const QString failed = QStringLiteral("Couldn’t check for updates");
    const QString noFeed = QStringLiteral("Updates aren’t available in this build");
    struct Case {
        QString feed;
        int timeoutMs;
        QString message;
        QString informative;
    };
    const Case cases[] = {
        {server.url("/equal"), 10000, upToDate, newest},
        {server.url("/older"), 10000, upToDate, newest},
        {server.url("/missing"), 10000, failed, {}},
        {server.url("/huge"), 10000, failed, {}},
        {server.url("/slow"), 300, failed, {}},
        {QStringLiteral("http://127.0.0.1:1/feed"), 10000, failed, {}},
        {QString(), 10000, noFeed, {}},
        {QStringLiteral("not a url at all"), 10000, noFeed, {}},
    };
    for (const Case& each : cases) {
        EXPECT_TRUE(check(each.feed, false, each.timeoutMs).alerts.empty())
            << each.feed.toStdString();
        expectAlone(check(each.feed, true, each.timeoutMs), each.message, each.informative);
    }
}

} // namespace
} // namespace kelvane
