#pragma once

#include "catalogue/Recipe.h"

#include <QByteArray>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

// Files handed to the application from outside: on its command line, or forwarded by a
// second launch to the running instance. The recipe (none: the current one) and the quiet
// flag (do not bring the window forward) are for launches that name them.
struct OpenRequest {
    std::vector<std::filesystem::path> files; // absolute
    std::optional<Recipe> recipe;
    bool quiet = false;

    // How a second launch sends it: a 4-byte big-endian length, then that many bytes of one
    // JSON object {"files": [text…], "recipe": text (optional), "quiet": bool (optional)}.
    QByteArray toMessage() const;
    // The request in a message's JSON body; none for anything else: not an object, files
    // that are not all absolute paths in text, an unknown recipe, a quiet that is no bool.
    static std::optional<OpenRequest> fromBody(const QByteArray& body);

    // Larger messages are no request.
    static constexpr qsizetype maximumBodyBytes = 1024 * 1024;
};

// The request in a launch's arguments (the first one is the program): every argument is a
// file, relative ones taken from the working folder, apart from Qt's own options and these:
// "--recipe ID" or "--recipe=ID" queues the files with that recipe instead of the current
// one, "--quiet" leaves the window where it is. None, with the sentence in `error`, for a
// recipe that doesn't exist or a "--recipe" without one.
std::optional<OpenRequest> requestFromArguments(int argc, char** argv, std::string& error);

} // namespace kelvane
