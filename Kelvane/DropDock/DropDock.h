#pragma once

#include "DropDock/DockClock.h"
#include "DropDock/DockModel.h"
#include "DropDock/DockPanel.h"
#include "DropDock/DragSource.h"

#include <QImage>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>

namespace kelvane {

class Store;

// The Drop Dock: watches drags in every application through a DragSource and, while files
// are dragged, slides a panel in at the right edge of the screen offering the recipes that
// fit them. A drop on a recipe queues the files in the store. Main thread only.
class DropDock : public QObject {
    Q_OBJECT
    Q_PROPERTY(kelvane::DockModel* model READ model CONSTANT)
    Q_PROPERTY(bool visible READ visible NOTIFY visibleChanged)

public:
    static constexpr double width = 232;
    // How far in from the right edge of the free screen area the dock stands.
    static constexpr double edgeInset = 10;
    // The slide covers the width and twice the inset, so the panel starts off screen.
    static constexpr double slideDistance = width + 2 * edgeInset;
    static constexpr int pollMs = 80;
    static constexpr int slideInMs = 220;
    static constexpr int slideOutMs = 200;
    static constexpr int hideWhileChoosingMs = 300;
    static constexpr int hideAfterAcceptMs = 1400;

    struct Parts {
        DragSource& source;
        DockClock& clock;
        Store& store;
        // The "dropDockEnabled" preference, read on every tick.
        std::function<bool()> enabled;
        // Makes the panel on the first show.
        std::function<std::unique_ptr<DockPanel>()> makePanel;
        // Draws the dock view over this model off-screen, the given recipe hovered.
        std::function<QImage(DockModel&, std::optional<Recipe> highlight, bool dark)> render;
    };

    explicit DropDock(Parts parts, QObject* parent = nullptr);
    ~DropDock() override;

    // Starts listening to the source; a second call does nothing.
    void start();
    bool enabled() const { return parts_.enabled(); }
    bool visible() const { return visible_; }
    DockModel* model() { return &model_; }

    // Fills the model and slides the panel in on the given screen, or the one under the
    // pointer.
    void show(std::vector<std::filesystem::path> urls,
              std::optional<DockScreen> screen = std::nullopt);
    void hide(bool animated);
    // Files were dropped on the tile of this recipe.
    void accept(Recipe recipe);
    Q_INVOKABLE void accept(const QString& recipe);

    // The dock as a picture, for snapshot mode; the panel is not touched.
    QImage renderSnapshot(std::vector<std::filesystem::path> urls, bool dark);

    static QEasingCurve easeIn();
    static QEasingCurve easeOut();

signals:
    void visibleChanged();

private:
    void mouseDown();
    void mouseDragged();
    void tick();
    void startPolling();
    void stopPolling();
    void scheduleHide(int ms);
    DockPanel& makePanel();
    std::optional<DockScreen> screenUnderPointer() const;
    void setVisible(bool visible);

    Parts parts_;
    DockModel model_;
    std::unique_ptr<DockPanel> panel_;
    bool started_ = false;
    DockClock::Task poll_ = 0;
    std::int64_t baseline_;
    bool sawMouseDown_ = false;
    bool visible_ = false;
    DockClock::Task hideWork_ = 0;
};

} // namespace kelvane
