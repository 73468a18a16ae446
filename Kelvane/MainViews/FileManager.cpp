#include "MainViews/FileManager.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QStringList>
#include <QUrl>

namespace kelvane::FileManager {
namespace {

QUrl urlOf(const std::filesystem::path& file) {
    return QUrl::fromLocalFile(QString::fromStdString(file.string()));
}

bool showItemsOverDBus(const std::vector<std::filesystem::path>& files) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return false;
    QStringList uris;
    for (const auto& file : files)
        uris << urlOf(file).toString();
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << uris << QString();
    const QDBusMessage reply = bus.call(call, QDBus::Block, 3000);
    return reply.type() == QDBusMessage::ReplyMessage;
}

} // namespace

void open(const std::filesystem::path& file) {
    QDesktopServices::openUrl(urlOf(file));
}

void reveal(const std::vector<std::filesystem::path>& files) {
    if (files.empty() || showItemsOverDBus(files))
        return;
    QDesktopServices::openUrl(urlOf(files.front().parent_path()));
}

} // namespace kelvane::FileManager
