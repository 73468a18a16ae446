#include "DropDock/DesktopDock.h"

#include "DropDock/DockSnapshot.h"
#include "DropDock/PinnedDock.h"
#include "DropDock/QuickDockPanel.h"
#include "DropDock/X11DragSource.h"

#include <QQmlEngine>
#include <QSettings>

namespace kelvane {
namespace {

const QString keepOpenKey = QStringLiteral("keepDropDockOpen");

} // namespace

DesktopDock::DesktopDock(QQmlEngine& engine, Store& store, std::function<bool()> enabled,
                         QObject* parent)
    : QObject(parent)
    , engine_(engine)
    , source_(std::make_unique<X11DragSource>()) {
    dock_ = std::make_unique<DropDock>(DropDock::Parts{
        *source_,
        clock_,
        store,
        std::move(enabled),
        [this]() -> std::unique_ptr<DockPanel> {
            auto panel = std::make_unique<QuickDockPanel>(engine_, *dock_);
            panel_ = panel.get();
            return panel;
        },
        [this](DockModel& model, std::optional<Recipe> highlight, bool dark) {
            return renderDockView(engine_, model, highlight, dark);
        },
    });
    connect(dock_.get(), &DropDock::visibleChanged, this, &DesktopDock::visibleChanged);
    keepOpen_ = QSettings().value(keepOpenKey).toBool();
}

DesktopDock::~DesktopDock() = default;

void DesktopDock::start() {
    if (started_)
        return;
    started_ = true;
    if (watching())
        dock_->start();
    else if (keepOpen_)
        showPinned();
}

bool DesktopDock::watching() const {
    return source_->watching();
}

QString DesktopDock::unavailableReason() const {
    return source_->unavailableReason();
}

bool DesktopDock::visible() const {
    return dock_->visible() || (pinned_ != nullptr && pinned_->expanded());
}

void DesktopDock::setKeepOpen(bool keep) {
    if (keep == keepOpen_)
        return;
    keepOpen_ = keep;
    QSettings().setValue(keepOpenKey, keep);
    emit keepOpenChanged();
    if (!started_ || watching())
        return;
    if (keep)
        showPinned();
    else if (pinned_)
        pinned_->hide();
}

void DesktopDock::showPinned() {
    if (!pinned_) {
        pinned_ = std::make_unique<PinnedDock>(engine_, *dock_);
        connect(pinned_.get(), &PinnedDock::expandedChanged, this, &DesktopDock::visibleChanged);
    }
    pinned_->show();
}

QQuickWindow* DesktopDock::panelWindow() const {
    return panel_ != nullptr ? panel_->window() : nullptr;
}

QQuickWindow* DesktopDock::pinnedWindow() const {
    return pinned_ ? pinned_->window() : nullptr;
}

} // namespace kelvane
