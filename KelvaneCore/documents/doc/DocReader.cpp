#include "documents/doc/DocReader.h"

#include "documents/DocumentFilling.h"
#include "documents/DocumentFormats.h"

#include <QDeadlineTimer>
#include <QProcess>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTextCursor>
#include <QTextDocument>

#include <stdexcept>

namespace kelvane::DocumentFormats {
namespace {

constexpr auto defaultTimeout = std::chrono::seconds(30);
constexpr qsizetype maxOutputBytes = 64 << 20;

QString executable(const QString& program) {
    const QString found =
        program.contains(u'/') ? program : QStandardPaths::findExecutable(program);
    if (found.isEmpty())
        throw std::runtime_error("antiword is not installed; it is needed to read .doc files");
    return found;
}

QProcessEnvironment toolEnvironment() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    return environment;
}

void start(QProcess& process, const QString& program, const std::filesystem::path& file) {
    // -w 0 keeps each paragraph on one line; an absolute path after "--" can never be
    // taken for an option.
    const QString path = QString::fromStdString(std::filesystem::absolute(file).string());
    process.setProgram(executable(program));
    process.setArguments({QStringLiteral("-m"), QStringLiteral("UTF-8.txt"), QStringLiteral("-w"),
                          QStringLiteral("0"), QStringLiteral("--"), path});
    process.setProcessEnvironment(toolEnvironment());
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(QIODevice::ReadOnly);
    if (!process.waitForStarted())
        throw std::runtime_error("antiword could not be started: " +
                                 process.errorString().toStdString());
}

QByteArray collectOutput(QProcess& process, std::chrono::milliseconds timeout) {
    const QDeadlineTimer deadline(timeout);
    QByteArray output;
    while (process.state() != QProcess::NotRunning) {
        if (deadline.hasExpired())
            throw std::runtime_error("antiword took too long");
        const int wait = static_cast<int>(std::min<qint64>(deadline.remainingTime(), 200));
        if (!process.waitForReadyRead(wait))
            process.waitForFinished(wait); // output closed; wait for the exit instead
        output += process.readAllStandardOutput();
        if (output.size() > maxOutputBytes)
            throw std::runtime_error("antiword output is too large");
    }
    output += process.readAllStandardOutput();
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        throw std::runtime_error("antiword could not read the file");
    return output;
}

// With -w 0 every line is a whole paragraph; blank lines only space paragraphs apart, and a
// form feed starts a new page.
void appendText(QTextDocument& document, const QString& text) {
    QTextCursor cursor(&document);
    bool firstBlock = true;
    bool pageBreak = false;
    for (QString line : text.split(u'\n')) {
        if (line.contains(u'\f')) {
            pageBreak = true;
            line.remove(u'\f');
        }
        while (!line.isEmpty() && line.back().isSpace())
            line.chop(1);
        if (line.isEmpty())
            continue;
        QTextBlockFormat block;
        if (pageBreak && !firstBlock)
            block.setPageBreakPolicy(QTextFormat::PageBreak_AlwaysBefore);
        if (firstBlock)
            cursor.setBlockFormat(block);
        else
            cursor.insertBlock(block);
        cursor.insertText(line);
        firstBlock = false;
        pageBreak = false;
    }
}

} // namespace

std::unique_ptr<QTextDocument> readDocWith(const std::filesystem::path& file,
                                           const QString& program,
                                           std::chrono::milliseconds timeout) {
    QProcess process;
    const auto stop = qScopeGuard([&process] {
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished();
        }
    });
    start(process, program, file);
    const QString text = QString::fromUtf8(collectOutput(process, timeout));
    if (text.trimmed().isEmpty())
        throw std::runtime_error("antiword found no text");
    auto document = std::make_unique<QTextDocument>();
    {
        const DocumentFilling filling(*document);
        appendText(*document, text);
    }
    return document;
}

std::unique_ptr<QTextDocument> readDoc(const std::filesystem::path& file) {
    return readDocWith(file, QStringLiteral("antiword"), defaultTimeout);
}

} // namespace kelvane::DocumentFormats
