#pragma once

#include <QString>

#include <chrono>
#include <filesystem>
#include <memory>

class QTextDocument;

namespace kelvane::DocumentFormats {

// Word 97-2003 files are read by the antiword command-line tool, which gives their text
// (without styling) as UTF-8, one unwrapped line per paragraph.
// `program` is an executable path, or a name looked up on PATH. The tool is killed once
// `timeout` passes. Throws when the tool is missing, fails, times out or finds no text.
std::unique_ptr<QTextDocument> readDocWith(const std::filesystem::path& file,
                                           const QString& program,
                                           std::chrono::milliseconds timeout);

} // namespace kelvane::DocumentFormats
