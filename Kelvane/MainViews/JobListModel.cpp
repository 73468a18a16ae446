#include "MainViews/JobListModel.h"

#include "MainViews/FileManager.h"
#include "MainViews/GroupColors.h"
#include "MainViews/JobText.h"
#include "MainViews/Symbols.h"

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
    connect(&store_, &Store::jobUpdated, this, [this](int row) {
        if (row >= 0 && row < count())
            emit dataChanged(index(row), index(row));
    });
}

// The store only ever drops jobs and puts new ones on top, so the old rows that survive
// keep their order: remove what went, then insert what came, each as its own change.
void JobListModel::follow() {
    const std::vector<Job>& jobs = store_.jobs();
    const int before = count();
    const auto present = [&](const QUuid& id) {
        return std::any_of(jobs.begin(), jobs.end(), [&](const Job& job) { return job.id == id; });
    };
    for (int row = count() - 1; row >= 0; --row) {
        if (present(ids_[static_cast<std::size_t>(row)]))
            continue;
        beginRemoveRows({}, row, row);
        ids_.erase(ids_.begin() + row);
        endRemoveRows();
    }
    for (std::size_t row = 0; row < jobs.size(); ++row) {
        if (row < ids_.size() && ids_[row] == jobs[row].id)
            continue;
        if (std::find(ids_.begin(), ids_.end(), jobs[row].id) != ids_.end()) {
            // Reordered: not something the store does, but the view must stay true.
            beginResetModel();
            ids_.clear();
            for (const Job& job : jobs)
                ids_.push_back(job.id);
            endResetModel();
            break;
        }
        const int at = static_cast<int>(row);
        beginInsertRows({}, at, at);
        ids_.insert(ids_.begin() + at, jobs[row].id);
        endInsertRows();
    }
    if (count() != before)
        emit countChanged();
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
