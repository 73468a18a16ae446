#include "fixtures/Bytes.h"
#include "fixtures/LongClip.h"
#include "fixtures/PdfFixtures.h"
#include "fixtures/TempFolder.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QThread>

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct CliRun {
    int exitCode;
    QString out;
    QString err;
};

CliRun cli(const QStringList& arguments, const QString& temporaryFolder = {}) {
    QProcess process;
    if (!temporaryFolder.isEmpty()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("TMPDIR", temporaryFolder);
        process.setProcessEnvironment(environment);
    }
    process.start(KELVANE_CLI_PATH, arguments);
    process.closeWriteChannel();
    process.waitForFinished(60000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

QJsonArray jsonArray(const QString& text) {
    return QJsonDocument::fromJson(text.toUtf8()).array();
}

// What the catalogue says, by name alone: the recipes, the suggestions for two images, and
// kinds of files that need not exist.
TEST(Cli, RecipesSuggestionsAndKindsComeFromTheCatalogue) {
    const CliRun run = cli({"recipes", "--json"});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QJsonArray groups = jsonArray(run.out);
    ASSERT_EQ(groups.size(), 5);
    std::set<QString> ids;
    for (const auto& group : groups)
        for (const auto& recipe : group.toObject()["recipes"].toArray())
            ids.insert(recipe.toObject()["id"].toString());
    EXPECT_EQ(ids.size(), 31u);
    EXPECT_EQ(groups[0].toObject()["group"].toString(), "Images");
    const CliRun table = cli({"recipes"});
    EXPECT_EQ(table.exitCode, 0);
    EXPECT_TRUE(table.out.contains("Convert to Plain Text"));

    const CliRun suggest = cli({"suggest", "--json", "a.jpg", "b.png"});
    ASSERT_EQ(suggest.exitCode, 0) << suggest.err.toStdString();
    QStringList suggested;
    for (const auto& recipe : jsonArray(suggest.out))
        suggested << recipe.toObject()["id"].toString();
    EXPECT_EQ(suggested, (QStringList{"shrink", "toHEIC", "resize", "stripMetadata", "imagesToPDF",
                                      "toTIFF", "toGIF", "toBMP", "zip"}));

    const CliRun kind = cli({"kind", "--json", "Photo.JPG", "drawing.svg", "x.tar.gz"});
    ASSERT_EQ(kind.exitCode, 0) << kind.err.toStdString();
    QStringList kinds;
    for (const auto& file : jsonArray(kind.out))
        kinds << file.toObject()["kind"].toString();
    EXPECT_EQ(kinds, (QStringList{"image", "other", "other"}));
}

TEST(Cli, UsageErrorsExitWithTwoAndNameTheProblem) {
    kelvane::fixtures::TempFolder temp;
    const QString file = QString::fromStdString(temp.write("a.png", "x").string());
    const std::pair<QStringList, QString> mistakes[] = {
        {{}, "Usage"},
        {{"transmogrify"}, "transmogrify"},
        {{"convert", "--recipe", "toJPX", file}, "toJPX"},
        {{"convert", file}, "--recipe"},
        {{"convert", "--recipe", "toJPG", "--quality", "7", file}, "--quality"},
        {{"convert", "--recipe", "toJPG", "--gif-fps", "2.5", file}, "--gif-fps"},
        {{"convert", "--recipe", "toJPG", "--pdf-page-size", "legal", file}, "legal"},
        {{"convert", "--recipe", "toJPG", "--frobnicate", file}, "frobnicate"},
        {{"convert", "--recipe", "toJPG", file + ".missing"}, "no such file"},
        {{"convert", "--recipe", "toJPG"}, "FILE"},
        {{"kind"}, "FILE"},
    };
    for (const auto& [arguments, mention] : mistakes) {
        const CliRun run = cli(arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments.join(' ').toStdString();
        EXPECT_TRUE((run.err + run.out).contains(mention))
            << arguments.join(' ').toStdString() << " said: " << run.err.toStdString();
        EXPECT_LE(run.err.count('\n'), 1) << run.err.toStdString();
    }
}

TEST(Cli, ConvertWritesBesideTheInputNeverReplacesAndSaysWhyAnInputFailed) {
    kelvane::fixtures::TempFolder temp;
    const QString report =
        QString::fromStdString(temp.write("report.txt", "Quarterly report").string());
    const CliRun first = cli({"convert", "--recipe", "docToPDF", report});
    ASSERT_EQ(first.exitCode, 0) << first.err.toStdString();
    const QString expected = QString::fromStdString((temp / "report (converted).pdf").string());
    EXPECT_EQ(first.out.trimmed(), expected);
    EXPECT_TRUE(QFile::exists(expected));

    const CliRun second =
        cli({"convert", "--recipe", "docToPDF", "--pdf-page-size", "a4", "--json", report});
    ASSERT_EQ(second.exitCode, 0) << second.err.toStdString();
    const QJsonObject result = jsonArray(second.out)[0].toObject();
    EXPECT_TRUE(result["outputs"].toArray()[0].toString().endsWith("report (converted 2).pdf"));
    EXPECT_TRUE(result["error"].isNull());

    // An input that fails makes the exit status 1, with its sentence.
    const QString notes = QString::fromStdString(temp.write("notes.txt", "words").string());
    const QString photo = QString::fromStdString(temp.write("photo.docx", "\x89PNG").string());
    const CliRun run = cli({"convert", "--recipe", "docToTXT", notes, photo});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.out.contains("photo.docx: “photo.docx” couldn’t be read as a document."))
        << run.out.toStdString();
    EXPECT_TRUE(run.out.contains("notes (converted).txt"));

    const CliRun wrongKind = cli({"convert", "--recipe", "toWAV", notes});
    EXPECT_EQ(wrongKind.exitCode, 1);
    EXPECT_TRUE(wrongKind.out.contains("Convert to WAV needs audio or videos."));
}

TEST(Cli, EveryCommandExplainsItself) {
    for (const char* command : {"recipes", "kind", "suggest", "convert"}) {
        const CliRun run = cli({command, "--help"});
        EXPECT_EQ(run.exitCode, 0) << command;
        EXPECT_TRUE(run.out.startsWith(QStringLiteral("Usage: kelvane-cli ") + command))
            << run.out.toStdString();
    }
    EXPECT_TRUE(cli({"convert", "--help"}).out.contains("--target-mb"));
}

std::string mapsOf(qint64 pid) {
    std::ifstream maps("/proc/" + std::to_string(pid) + "/maps");
    std::stringstream text;
    text << maps.rdbuf();
    return text.str();
}

// The first child of a process, 0 while it has none.
qint64 childOf(qint64 pid) {
    const std::string id = std::to_string(pid);
    std::ifstream children("/proc/" + id + "/task/" + id + "/children");
    qint64 child = 0;
    children >> child;
    return child;
}

TEST(Cli, TheFrontEndMapsNoToolFamilyAndItsWorkerOnlyTheOneItsJobNeeds) {
    // The text arrives through a pipe, so both processes wait while their maps are read.
    kelvane::fixtures::TempFolder temp;
    const std::filesystem::path pipe = temp / "letter.txt";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    QProcess process;
    process.start(KELVANE_CLI_PATH,
                  {"convert", "--recipe", "docToHTML", QString::fromStdString(pipe.string())});
    ASSERT_TRUE(process.waitForStarted());

    qint64 worker = 0;
    std::string workerMaps;
    for (int tries = 0; tries < 600 && workerMaps.find("kelvane-documents.so") == std::string::npos;
         ++tries) {
        QThread::msleep(100);
        worker = childOf(process.processId());
        workerMaps = worker == 0 ? std::string() : mapsOf(worker);
    }
    const std::string cliMaps = mapsOf(process.processId());
    ASSERT_NE(cliMaps.find("libQt6Core"), std::string::npos);
    for (const char* library : {"libvips", "libavcodec", "libavformat", "libarchive", "libpoppler",
                                "libQt6Gui", "lib/kelvane/"})
        EXPECT_EQ(cliMaps.find(library), std::string::npos) << library;
    EXPECT_NE(workerMaps.find("kelvane-documents.so"), std::string::npos);
    for (const char* library : {"libvips", "libavcodec", "kelvane-images", "kelvane-media"})
        EXPECT_EQ(workerMaps.find(library), std::string::npos) << library;

    // Whatever the document reader makes of a pipe, the run ends once the text is in. The
    // reader may refuse the pipe and close it before the text arrives: no SIGPIPE for that.
    std::signal(SIGPIPE, SIG_IGN);
    for (int tries = 0; tries < 600 && process.state() == QProcess::Running; ++tries) {
        const int writer = ::open(pipe.c_str(), O_WRONLY | O_NONBLOCK); // once the worker reads
        if (writer >= 0) {
            [[maybe_unused]] const auto written = ::write(writer, "Dear reader", 11);
            ::close(writer);
            break;
        }
        QThread::msleep(100);
    }
    EXPECT_TRUE(process.waitForFinished(60000));
}

} // namespace

namespace {

QString pathText(const std::filesystem::path& path) {
    return QString::fromStdString(path.string());
}

// The runtime folders of workers left in a temporary folder.
int workerFolders(const kelvane::fixtures::TempFolder& folder) {
    const auto names = folder.entries();
    return static_cast<int>(std::count_if(names.begin(), names.end(), [](const std::string& name) {
        return name.starts_with("kelvane-worker-");
    }));
}

// Workers end when the CLI is done with them: no sanitizer report as they exit, and their
// runtime folders are gone.
TEST(Cli, WorkersExitCleanlyRunAfterRun) {
    kelvane::fixtures::TempFolder temp;
    kelvane::fixtures::TempFolder runtime;
    const QString text = pathText(temp.write("a.txt", "A few words."));
    const QString pdf = pathText(temp.write("b.pdf", kelvane::fixtures::minimalPdf({{}})));
    for (int run = 0; run < 4; ++run) {
        const bool document = run % 2 == 0;
        const CliRun converted =
            cli({"convert", "--recipe", document ? "docToHTML" : "pdfToPNG", document ? text : pdf},
                pathText(runtime.path()));
        EXPECT_EQ(converted.exitCode, 0) << converted.out.toStdString();
        EXPECT_FALSE(converted.err.contains("Sanitizer") || converted.err.contains("runtime error"))
            << converted.err.toStdString();
        EXPECT_EQ(workerFolders(runtime), 0) << run;
    }
}

TEST(Cli, PathsThatAreNotUtf8AreConvertedAsGiven) {
    kelvane::fixtures::TempFolder temp;
    // Two Latin-1 names that read the same once decoded as UTF-8.
    const QByteArray photo = kelvane::fixtures::pngBytes(8, 8, Qt::red);
    kelvane::fixtures::writeBytes(temp, "Caf\xe9/photo.png", photo);
    kelvane::fixtures::writeBytes(temp, "Caf\xe8/photo.png", photo);
    // QProcess would encode its arguments as UTF-8; the shell passes the bytes unchanged.
    QProcess shell;
    shell.setWorkingDirectory(pathText(temp.path()));
    shell.start("/bin/sh", {"-c", QStringLiteral("exec '%1' convert --recipe toJPG "
                                                 "\"$(printf 'Caf\\351')/photo.png\" "
                                                 "\"$(printf 'Caf\\350')/photo.png\"")
                                      .arg(KELVANE_CLI_PATH)});
    ASSERT_TRUE(shell.waitForFinished(60000));
    EXPECT_EQ(shell.exitCode(), 0) << shell.readAllStandardOutput().toStdString();
    for (const char* folder : {"Caf\xe9", "Caf\xe8"})
        EXPECT_GT(std::filesystem::file_size(temp / folder / "photo (converted).jpg"), 0u);
}

TEST(Cli, CtrlCStopsTheConversionsLeavesNothingAndExitsWith130) {
    kelvane::fixtures::TempFolder temp;
    kelvane::fixtures::TempFolder runtime;
    const std::filesystem::path clip = kelvane::fixtures::longClip(temp);
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("TMPDIR", pathText(runtime.path()));
    process.setProcessEnvironment(environment);
    process.start(KELVANE_CLI_PATH, {"convert", "--recipe", "videoHEVC", pathText(clip)});
    process.setReadChannel(QProcess::StandardError); // progress, not the results at the end
    QByteArray progress;
    while (!progress.contains("0%") && process.waitForReadyRead(20000))
        progress += process.readAllStandardError();
    QThread::msleep(1500); // into the encode
    ::kill(static_cast<pid_t>(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(20000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 130);
    EXPECT_TRUE(process.readAllStandardOutput().contains("clip.mov: Stopped."));
    EXPECT_EQ(temp.entries(), std::vector<std::string>{"clip.mov"});
    EXPECT_EQ(workerFolders(runtime), 0);
}

} // namespace
