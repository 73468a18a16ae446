#pragma once

#include <QString>
#include <QStringList>

#include <functional>

namespace kelvane {

// A modal question or message of the application shell.
struct Alert {
    QString message;
    QString informativeText;
    QStringList buttons; // the first is the default; none means a single "OK"
};

// Shows the shell's alerts. The application's presenter uses message boxes; tests put in
// their own to read the texts and answer.
class Alerts {
public:
    virtual ~Alerts() = default;
    // Shows the alert and, once the user answered, calls back with the index of the button
    // pressed (0 for the first, or for "OK").
    virtual void present(const Alert& alert, std::function<void(int)> answered) = 0;
};

// Message boxes, one at a time each, not blocking the event loop.
class MessageBoxAlerts : public Alerts {
public:
    void present(const Alert& alert, std::function<void(int)> answered) override;
};

} // namespace kelvane
