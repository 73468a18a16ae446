#include "ArchiveFixtures.h"
#include "archives/ArchiveTools.h"
#include "fixtures/TempFolder.h"
#include "fixtures/Unprivileged.h"
#include "naming/ConversionError.h"

#include <QJsonObject>
#include <QRegularExpression>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using fixtures::TempFolder;

std::vector<std::string> namesIn(const QJsonArray& entries) {
    std::vector<std::string> names;
    for (const auto& entry : entries)
        names.push_back(entry.toObject()["name"].toString().toStdString());
    return names;
}

QJsonObject entryNamed(const QJsonArray& entries, const QString& name) {
    for (const auto& entry : entries)
        if (entry.toObject()["name"] == name)
            return entry.toObject();
    return {};
}

// Both independent readers accept the archive: unzip tests every CRC, bsdtar lists it.
void expectReadersAccept(const fs::path& zip) {
    const auto tested = fixtures::runCommand("unzip", {"-tq", zip.string()});
    EXPECT_EQ(tested.status, 0) << tested.output;
    const auto listed = fixtures::runCommand("bsdtar", {"-tf", zip.string()});
    EXPECT_EQ(listed.status, 0) << listed.output;
}

// "kelvane-" and an upper-case UUID, as listed by treeOf.
bool isRunFolder(const std::string& name) {
    static const QRegularExpression runFolder(
        QRegularExpression::anchoredPattern("kelvane-[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}/"));
    return runFolder.match(QString::fromStdString(name)).hasMatch();
}

TEST(Zip, OneItemKeepsItsNameAndFolderAndIsNumberedWhenTaken) {
    TempFolder temp;
    const auto report = temp.write("Report.pdf", "%PDF-1.4 pretend");
    const fs::path first = ArchiveTools::zip({report}, {});
    const fs::path second = ArchiveTools::zip({report}, {});
    EXPECT_EQ(first, temp / "Report.pdf.zip");
    EXPECT_EQ(second, temp / "Report.pdf 2.zip");
    expectReadersAccept(first);
    EXPECT_EQ(namesIn(fixtures::zipEntries(second)), std::vector<std::string>{"Report.pdf"});
    EXPECT_EQ(fixtures::runCommand("unzip", {"-p", first.string()}).output, "%PDF-1.4 pretend");

    // One folder keeps its folder at the root, with hidden and empty folders.
    temp.write("Photos/a.txt", "a");
    temp.write("Photos/.hidden", "secret");
    temp.write("Photos/sub/b.txt", "b");
    temp.makeFolder("Photos/empty");
    // A trailing slash, as a shell completes folder names, changes nothing.
    const fs::path folder = ArchiveTools::zip({(temp / "Photos").string() + "/"}, {});
    EXPECT_EQ(folder, temp / "Photos.zip");
    expectReadersAccept(folder);
    EXPECT_EQ(namesIn(fixtures::zipEntries(folder)),
              (std::vector<std::string>{"Photos/", "Photos/.hidden", "Photos/a.txt",
                                        "Photos/empty/", "Photos/sub/", "Photos/sub/b.txt"}));
}

TEST(Zip, SeveralItemsSitAtTheRootOfArchiveZipUnderUniqueNames) {
    TempFolder temp;
    TempFolder tmpdir;
    ::setenv("TMPDIR", tmpdir.path().c_str(), 1);
    const std::vector<fs::path> items = {
        temp.write("one/notes.txt", "first"), temp.write("two/notes.txt", "second"),
        temp.write("three/NOTES.txt", "third"), temp.write("one/.profile", "p"),
        temp.write("two/Photos/x.txt", "x").parent_path()};
    std::vector<std::string> duringTheRun;
    const fs::path zip = ArchiveTools::zip(items, [&](double) {
        if (duringTheRun.empty())
            duringTheRun = fixtures::treeOf(tmpdir.path());
    });
    const fs::path again = ArchiveTools::zip(items, {});
    ::unsetenv("TMPDIR");
    ASSERT_EQ(duringTheRun.size(), 2u);
    EXPECT_TRUE(isRunFolder(duringTheRun[0])) << duringTheRun[0];
    EXPECT_EQ(duringTheRun[1], duringTheRun[0] + "Archive/");

    EXPECT_EQ(zip, temp / "one" / "Archive.zip"); // the first item's folder
    EXPECT_EQ(again, temp / "one" / "Archive 2.zip");
    expectReadersAccept(zip);
    EXPECT_EQ(namesIn(fixtures::zipEntries(zip)),
              (std::vector<std::string>{"notes.txt", "notes 2.txt", "NOTES 3.txt", ".profile",
                                        "Photos/", "Photos/x.txt"}));
    EXPECT_EQ(fixtures::runCommand("unzip", {"-p", zip.string(), "notes 2.txt"}).output, "second");
    EXPECT_TRUE(tmpdir.entries().empty()) << "a temporary root was left behind";
}

TEST(Zip, EntriesKeepUnicodeNamesTimesPermissionsAndLinks) {
    TempFolder temp;
    const auto script = temp.write("Tree/run é.sh", "#!/bin/sh\necho hi\n");
    fs::permissions(script, fs::perms(0755));
    const auto old = temp.write("Tree/Ünïcødé 照片.txt", "text");
    const timespec times[2] = {{1'600'000'000, 0}, {1'600'000'000, 0}};
    ::utimensat(AT_FDCWD, old.c_str(), times, 0);
    fs::create_symlink("Ünïcødé 照片.txt", temp / "Tree/link");
    fs::create_symlink("/etc/hostname", temp / "Tree/absolute link");

    const QJsonArray entries = fixtures::zipEntries(ArchiveTools::zip({temp / "Tree"}, {}));
    const QJsonObject text = entryNamed(entries, "Tree/Ünïcødé 照片.txt");
    ASSERT_FALSE(text.isEmpty());
    EXPECT_TRUE(text["utf8"].toBool());
    EXPECT_NEAR(text["mtime"].toDouble(), 1'600'000'000, 2); // DOS times count in 2 s steps
    EXPECT_EQ(entryNamed(entries, "Tree/run é.sh")["mode"].toInt(), S_IFREG | 0755);
    EXPECT_EQ(entryNamed(entries, "Tree/link")["mode"].toInt() & S_IFMT, S_IFLNK);
    EXPECT_EQ(entryNamed(entries, "Tree/link")["link"].toString(), "Ünïcødé 照片.txt");
    EXPECT_EQ(entryNamed(entries, "Tree/absolute link")["link"].toString(), "/etc/hostname");
}

TEST(Zip, StoresAlreadyCompressedFilesAndDeflatesTheRest) {
    TempFolder temp;
    const std::string repetitive(200'000, 'k');
    const std::vector<fs::path> items = {temp.write("photo.JPG", repetitive),
                                         temp.write("clip.mp4", repetitive),
                                         temp.write("notes.txt", repetitive)};
    const fs::path zip = ArchiveTools::zip(items, {});
    expectReadersAccept(zip);
    const QJsonArray entries = fixtures::zipEntries(zip);
    EXPECT_EQ(entryNamed(entries, "photo.JPG")["method"].toInt(), 0);
    EXPECT_EQ(entryNamed(entries, "clip.mp4")["method"].toInt(), 0);
    EXPECT_EQ(entryNamed(entries, "notes.txt")["method"].toInt(), 8);
    EXPECT_LT(fs::file_size(zip), 2 * repetitive.size() + 10'000);
}

TEST(Zip, LeavesOutItselfPipesAndSockets) {
    TempFolder temp;
    temp.write("d/sub/a.txt", "a");
    ASSERT_EQ(::mkfifo((temp / "d/pipe").c_str(), 0644), 0); // reading it would wait for ever
    // The archive is written in the first item's folder, inside the second item.
    const fs::path zip = ArchiveTools::zip({temp / "d/sub/a.txt", temp / "d"}, {});
    EXPECT_EQ(zip, temp / "d/sub/Archive.zip");
    expectReadersAccept(zip);
    EXPECT_EQ(namesIn(fixtures::zipEntries(zip)),
              (std::vector<std::string>{"a.txt", "d/", "d/sub/", "d/sub/a.txt"}));
}

TEST(Zip, ProgressOfZipAndUnzipGrowsByBytesToTheEnd) {
    TempFolder temp;
    std::vector<fs::path> items;
    for (int index = 0; index < 4; ++index)
        items.push_back(temp.writeBytes("big" + std::to_string(index) + ".bin", 3 << 20));
    std::vector<double> reports;
    const fs::path zip =
        ArchiveTools::zip(items, [&](double fraction) { reports.push_back(fraction); });
    ASSERT_GE(reports.size(), 8u);
    EXPECT_TRUE(std::is_sorted(reports.begin(), reports.end()));
    EXPECT_NEAR(reports[reports.size() / 2], 0.5, 0.1);
    EXPECT_DOUBLE_EQ(reports.back(), 1.0);

    reports.clear();
    ArchiveTools::unzip(zip, [&](double fraction) { reports.push_back(fraction); });
    ASSERT_GE(reports.size(), 4u);
    EXPECT_TRUE(std::is_sorted(reports.begin(), reports.end()));
    EXPECT_LT(reports.front(), 0.5);
    EXPECT_DOUBLE_EQ(reports.back(), 1.0);
}

TEST(Zip, AnUnreadableItemFailsAndLeavesNothing) {
    TempFolder temp;
    temp.write("Folder/readable.txt", "fine");
    const auto locked = temp.write("Folder/locked.txt", "no");
    fs::permissions(locked, fs::perms::none);
    fs::permissions(temp.path(), fs::perms(0777)); // the unprivileged child may write here
    const std::string outcome = fixtures::runUnprivileged([&]() -> std::string {
        try {
            ArchiveTools::zip({temp / "Folder"}, {});
            return "zipped";
        } catch (const std::exception& error) {
            return error.what();
        }
    });
    EXPECT_EQ(outcome, "Couldn’t read “locked.txt”: Permission denied");
    EXPECT_EQ(temp.entries(), std::vector<std::string>{"Folder"});
}

} // namespace
} // namespace kelvane
