#pragma once

#include <QColor>
#include <QObject>

#include <optional>

namespace kelvane {

// The colours of every window (main, Settings, the panel, the Drop Dock) in the light or
// the dark appearance, palette included: ThemedWindow.qml hands them to the controls.
// Follows the system palette (a dark window colour means dark) unless an appearance is
// forced, as snapshot mode does.
class Appearance : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool dark READ dark NOTIFY changed)
    Q_PROPERTY(QColor window READ window NOTIFY changed)
    Q_PROPERTY(QColor sidebar READ sidebar NOTIFY changed)
    Q_PROPERTY(QColor inspector READ inspector NOTIFY changed)
    Q_PROPERTY(QColor toolbar READ toolbar NOTIFY changed)
    Q_PROPERTY(QColor text READ text NOTIFY changed)
    Q_PROPERTY(QColor secondaryText READ secondaryText NOTIFY changed)
    Q_PROPERTY(QColor separator READ separator NOTIFY changed)
    Q_PROPERTY(QColor card READ card NOTIFY changed)
    Q_PROPERTY(QColor cardBorder READ cardBorder NOTIFY changed)
    Q_PROPERTY(QColor hover READ hover NOTIFY changed)
    Q_PROPERTY(QColor selection READ selection NOTIFY changed)
    Q_PROPERTY(QColor accent READ accent NOTIFY changed)
    Q_PROPERTY(QColor control READ control NOTIFY changed)
    Q_PROPERTY(QColor success READ success NOTIFY changed)
    Q_PROPERTY(QColor failure READ failure NOTIFY changed)
    Q_PROPERTY(qreal glowOpacity READ glowOpacity NOTIFY changed)
    // The controls' own palette roles, beyond the surface colours above.
    Q_PROPERTY(QColor highlightedText READ highlightedText NOTIFY changed)
    Q_PROPERTY(QColor bevelLight READ bevelLight NOTIFY changed)
    Q_PROPERTY(QColor bevelMidlight READ bevelMidlight NOTIFY changed)
    Q_PROPERTY(QColor bevelDark READ bevelDark NOTIFY changed)

public:
    explicit Appearance(QObject* parent = nullptr);

    bool dark() const;
    // Forces light (false) or dark (true); none follows the system again.
    void force(std::optional<bool> dark);

    QColor window() const;
    QColor sidebar() const;
    QColor inspector() const;
    QColor toolbar() const;
    QColor text() const;
    QColor secondaryText() const;
    QColor separator() const;
    QColor card() const;
    QColor cardBorder() const;
    QColor hover() const;
    QColor selection() const;
    QColor accent() const;
    QColor control() const;
    QColor success() const;
    QColor failure() const;
    // How strongly the group's glow shows behind the workspace.
    qreal glowOpacity() const { return dark() ? 0.14 : 0.1; }
    QColor highlightedText() const { return QColor(0xFF, 0xFF, 0xFF); }
    QColor bevelLight() const;
    QColor bevelMidlight() const;
    QColor bevelDark() const;

signals:
    void changed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QColor pick(QColor light, QColor dark) const { return this->dark() ? dark : light; }

    std::optional<bool> forced_;
};

} // namespace kelvane
