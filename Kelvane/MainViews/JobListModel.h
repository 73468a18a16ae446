#pragma once

#include "Store/Store.h"

#include <QAbstractListModel>
#include <QUuid>

#include <functional>

namespace kelvane {

// The store's jobs as rows for the queue, newest first. Follows the store precisely (rows
// inserted, removed and changed, never a reset for ordinary changes), so that the view
// keeps its selection and scroll position while jobs come and go.
class JobListModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    enum Role {
        TitleRole = Qt::UserRole + 1,
        StateRole, // "queued", "running", "done", "failed"
        ProgressRole,
        PercentRole,      // "42%"
        DoneLabelRole,    // the result's name, or "Done"
        FailureLabelRole, // the message, or "Something went wrong."
        SizeLineRole,
        TypeGlyphRole,
        TintRole, // first colour of the recipe's group
        FromDockRole,
        RemovableRole,
        HasOutputsRole,
    };

    using Opener = std::function<void(const std::filesystem::path&)>;
    using Revealer = std::function<void(const std::vector<std::filesystem::path>&)>;

    explicit JobListModel(Store& store, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
    int count() const { return static_cast<int>(ids_.size()); }

    // The row actions; each does nothing for a row that no longer exists.
    Q_INVOKABLE void open(int row);
    Q_INVOKABLE void reveal(int row);
    Q_INVOKABLE void retry(int row);
    Q_INVOKABLE void remove(int row);
    // Stops a running or waiting job; its row then shows "Stopped" with "Try Again".
    Q_INVOKABLE void stop(int row);
    // Delete on a selected row: removes it only when it has finished.
    Q_INVOKABLE bool removeIfFinished(int row);

    // How results are opened and shown; the desktop's file manager unless replaced.
    void setOpener(Opener opener) { opener_ = std::move(opener); }
    void setRevealer(Revealer revealer) { revealer_ = std::move(revealer); }

signals:
    void countChanged();

private:
    void follow();
    void removeGoneRows(const std::vector<Job>& jobs);
    void insertNewRows(const std::vector<Job>& jobs);
    const Job* jobAt(int row) const;

    Store& store_;
    std::vector<QUuid> ids_; // the rows as the view knows them
    Opener opener_;
    Revealer revealer_;
};

} // namespace kelvane
