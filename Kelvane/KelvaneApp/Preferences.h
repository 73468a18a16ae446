#pragma once

#include <QObject>

class QSettings;

namespace kelvane {

// The application's switches, kept in the user's settings and written at once on every
// change. Every view and the Drop Dock read them here; none touches the settings itself.
// (The recipe and the options belong to the Store, which keeps them on its own.)
class Preferences : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool dropDockEnabled READ dropDockEnabled WRITE setDropDockEnabled NOTIFY
                   dropDockEnabledChanged)
    Q_PROPERTY(bool showMenuBar READ showMenuBar WRITE setShowMenuBar NOTIFY showMenuBarChanged)

public:
    // Without settings the switches live in memory only, starting at their defaults.
    explicit Preferences(QSettings* settings = nullptr, QObject* parent = nullptr);

    bool dropDockEnabled() const { return dropDockEnabled_; }
    void setDropDockEnabled(bool enabled);
    bool showMenuBar() const { return showMenuBar_; }
    void setShowMenuBar(bool show);

signals:
    void dropDockEnabledChanged();
    void showMenuBarChanged();

private:
    bool write(const char* key, bool value, bool& field);

    QSettings* settings_;
    bool dropDockEnabled_;
    bool showMenuBar_;
};

} // namespace kelvane
