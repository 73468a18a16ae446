#include "MainViews/JobListModel.h"

#include "MainViews/FileManager.h"
#include "MainViews/GroupColors.h"
#include "MainViews/JobText.h"
#include "MainViews/Symbols.h"

#include <QSet>

#include <algorithm>

namespace kelvane {
namespace {

QString stateName(Job::State state) {
    switch (state) {
    case Job::State::queued:
        return QStringLiteral("queued");
    case Job::State::running:
        return QStringLiteral("running");
    case Job::State::done:
        return QStringLiteral("done");
    case Job::State::failed:
        return QStringLiteral("failed");
    case Job::State::stopped:
        return QStringLiteral("stopped");
    }
    return {};
}

} // namespace

JobListModel::JobListModel(Store& store, QObject* parent)
    : QAbstractListModel(parent)
    , store_(store)
    , opener_(FileManager::open)
    , revealer_(FileManager::reveal) {
    for (const Job& job : store_.jobs())
        ids_.push_back(job.id);
    connect(&store_, &Store::jobsChanged, this, &JobListModel::follow);
    connect(&store_, &Store::jobsUpdated, this, [this](int first, int last) {
        if (first >= 0 && last < count())
            emit dataChanged(index(first), index(last));
    });
}

// The store only ever drops jobs and puts new ones on top, so the old rows that survive
// keep their order: remove what went, then insert what came, each run of neighbouring rows
// as one change (a folder of 10 000 files arrives as one insertion, not 10 000).
void JobListModel::follow() {
    const std::vector<Job>& jobs = store_.jobs();
    const int before = count();
    removeGoneRows(jobs);
    insertNewRows(jobs);
    if (count() != before)
        emit countChanged();
}

void JobListModel::removeGoneRows(const std::vector<Job>& jobs) {
    QSet<QUuid> present;
    present.reserve(static_cast<qsizetype>(jobs.size()));
    for (const Job& job : jobs)
        present.insert(job.id);
    const auto gone = [&](int row) {
        return !present.contains(ids_[static_cast<std::size_t>(row)]);
    };
    for (int last = count() - 1; last >= 0; --last) {
        if (!gone(last))
            continue;
        int first = last;
        while (first > 0 && gone(first - 1))
            --first;
        beginRemoveRows({}, first, last);
        ids_.erase(ids_.begin() + first, ids_.begin() + last + 1);
        endRemoveRows();
        last = first;
    }
}

void JobListModel::insertNewRows(const std::vector<Job>& jobs) {
    const QSet<QUuid> known(ids_.begin(), ids_.end());
    for (std::size_t row = 0; row < jobs.size();) {
        if (row < ids_.size() && ids_[row] == jobs[row].id) {
            ++row;
            continue;
        }
        if (known.contains(jobs[row].id)) {
            // Reordered: not something the store does, but the view must stay true.
            beginResetModel();
            ids_.clear();
            for (const Job& job : jobs)
                ids_.push_back(job.id);
            endResetModel();
            return;
        }
        std::size_t end = row;
        while (end < jobs.size() && !known.contains(jobs[end].id))
            ++end;
        beginInsertRows({}, static_cast<int>(row), static_cast<int>(end) - 1);
        std::vector<QUuid> arrived;
        arrived.reserve(end - row);
        for (std::size_t index = row; index < end; ++index)
            arrived.push_back(jobs[index].id);
        ids_.insert(ids_.begin() + static_cast<std::ptrdiff_t>(row), arrived.begin(),
                    arrived.end());
        endInsertRows();
        row = end;
    }
}

int JobListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count();
}

const Job* JobListModel::jobAt(int row) const {
    const auto& jobs = store_.jobs();
    if (row < 0 || static_cast<std::size_t>(row) >= jobs.size())
        return nullptr;
    return &jobs[static_cast<std::size_t>(row)];
}

QVariant JobListModel::data(const QModelIndex& index, int role) const {
    const Job* job = jobAt(index.row());
    if (job == nullptr)
        return {};
    switch (role) {
    case TitleRole:
        return job->title();
    case StateRole:
        return stateName(job->state);
    case ProgressRole:
        return job->progress;
    case PercentRole:
        return JobText::percent(job->progress);
    case DoneLabelRole:
        return JobText::doneLabel(*job);
    case FailureLabelRole:
        return JobText::failureLabel(*job);
    case SizeLineRole:
        return JobText::sizeLine(job->inputBytes, job->outputBytes);
    case TypeGlyphRole:
        return Symbols::glyph(JobText::fileTypeSymbol(*job));
    case TintRole:
        return groupColors(job->recipe.group()).first;
    case FromDockRole:
        return job->fromDock;
    case RemovableRole:
        return job->state != Job::State::running;
    case HasOutputsRole:
        return !job->outputs.empty();
    default:
        return {};
    }
}

QHash<int, QByteArray> JobListModel::roleNames() const {
    return {
        {TitleRole, "title"},         {StateRole, "jobState"},
        {ProgressRole, "progress"},   {PercentRole, "percentText"},
        {DoneLabelRole, "doneLabel"}, {FailureLabelRole, "failureLabel"},
        {SizeLineRole, "sizeLine"},   {TypeGlyphRole, "typeGlyph"},
        {TintRole, "tint"},           {FromDockRole, "fromDock"},
        {RemovableRole, "removable"}, {HasOutputsRole, "hasOutputs"},
    };
}

void JobListModel::open(int row) {
    const Job* job = jobAt(row);
    if (job != nullptr && !job->outputs.empty())
        opener_(job->outputs.front());
}

void JobListModel::reveal(int row) {
    const Job* job = jobAt(row);
    if (job != nullptr && !job->outputs.empty())
        revealer_(job->outputs);
}

void JobListModel::retry(int row) {
    if (const Job* job = jobAt(row))
        store_.retry(job->id);
}

void JobListModel::stop(int row) {
    if (const Job* job = jobAt(row))
        store_.stop(job->id);
}

void JobListModel::remove(int row) {
    if (const Job* job = jobAt(row))
        store_.remove(job->id);
}

bool JobListModel::removeIfFinished(int row) {
    const Job* job = jobAt(row);
    if (job == nullptr || !job->isFinished())
        return false;
    store_.remove(job->id);
    return true;
}

} // namespace kelvane
