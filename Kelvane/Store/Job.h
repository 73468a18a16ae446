#pragma once

#include "catalogue/Recipe.h"

#include <QString>
#include <QUuid>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

namespace kelvane {

// One row of the queue: a recipe over one input, or over all inputs of a combining recipe.
struct Job {
    enum class State { queued, running, done, failed, stopped };

    // A new queued job with an identity of its own.
    Job(Recipe jobRecipe, std::vector<std::filesystem::path> jobInputs)
        : id(QUuid::createUuid())
        , recipe(jobRecipe)
        , inputs(std::move(jobInputs)) {}

    QUuid id;
    Recipe recipe;
    std::vector<std::filesystem::path> inputs;
    State state = State::queued;
    double progress = 0;
    std::vector<std::filesystem::path> outputs;
    std::int64_t inputBytes = 0;    // measured when the job starts
    std::int64_t outputBytes = 0;   // measured when it finishes
    std::optional<QString> message; // the sentence of a failed job
    bool fromDock = false;
    // Order of making: jobs start lowest first, and the first file of a drop counts as made
    // before the next even though the list shows the drop's jobs above older ones.
    std::uint64_t sequence = 0;

    bool operator==(const Job&) const = default;

    // The single input's name, or "3 files".
    QString title() const;
    // The single output's name, "2 results", or none before there are outputs.
    std::optional<QString> outputName() const;
    bool isFinished() const { return state != State::queued && state != State::running; }
};

} // namespace kelvane
