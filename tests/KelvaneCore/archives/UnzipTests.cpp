#include "ArchiveFixtures.h"
#include "archives/ArchiveTools.h"
#include "fixtures/TempFolder.h"
#include "naming/ConversionError.h"

#include <QJsonObject>

#include <clocale>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using fixtures::EntrySpec;
using fixtures::readFile;
using fixtures::TempFolder;
using Type = EntrySpec::Type;

struct stat statusOf(const fs::path& path) {
    struct stat status {};
    ::lstat(path.c_str(), &status);
    return status;
}

void buildTree(const TempFolder& temp) {
    temp.write("Tree/Ünïcødé 照片.txt", "unicode");
    temp.write("Tree/.hidden", "hidden");
    temp.makeFolder("Tree/empty folder");
    const auto script = temp.write("Tree/bin/run.sh", "#!/bin/sh\n");
    fs::permissions(script, fs::perms(0755));
    const timespec times[2] = {{1'500'000'000, 0}, {1'500'000'000, 0}};
    ::utimensat(AT_FDCWD, script.c_str(), times, 0);
    fs::create_symlink("../Ünïcødé 照片.txt", temp / "Tree/bin/link");
}

void expectTreeCameBack(const fs::path& expanded) {
    EXPECT_EQ(fixtures::treeOf(expanded),
              (std::vector<std::string>{"Tree/", "Tree/.hidden", "Tree/bin/", "Tree/bin/link",
                                        "Tree/bin/run.sh", "Tree/empty folder/",
                                        "Tree/Ünïcødé 照片.txt"}));
    EXPECT_EQ(readFile(expanded / "Tree/Ünïcødé 照片.txt"), "unicode");
    EXPECT_EQ(fs::read_symlink(expanded / "Tree/bin/link"), "../Ünïcødé 照片.txt");
    EXPECT_EQ(readFile(expanded / "Tree/bin/link"), "unicode");
    const struct stat script = statusOf(expanded / "Tree/bin/run.sh");
    EXPECT_EQ(script.st_mode & 0777, 0755u);
    EXPECT_EQ(script.st_mtim.tv_sec, 1'500'000'000);
}

// Also zipped and expanded in the C locale, where the names' bytes must not be taken for
// that locale's characters.
TEST(Unzip, ATreeComesBackWithNamesLinksPermissionsAndTimesInAnyLocale) {
    TempFolder temp;
    buildTree(temp);
    fs::rename(ArchiveTools::zip({temp / "Tree"}, {}), temp / "Copy.zip");
    EXPECT_EQ(ArchiveTools::unzip(temp / "Copy.zip", {}), temp / "Copy");
    expectTreeCameBack(temp / "Copy");

    const std::string previous = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, "C");
    fs::rename(ArchiveTools::zip({temp / "Tree"}, {}), temp / "Plain.zip");
    const fs::path expanded = ArchiveTools::unzip(temp / "Plain.zip", {});
    std::setlocale(LC_ALL, previous.c_str());
    expectTreeCameBack(expanded);
    for (const auto& entry : fixtures::zipEntries(temp / "Plain.zip"))
        if (entry.toObject()["name"].toString().contains(QStringLiteral("照片"))) {
            EXPECT_TRUE(entry.toObject()["utf8"].toBool());
        }
}

TEST(Unzip, ExpandsBesideAnExistingFolderUnderTheNextNumber) {
    TempFolder temp;
    temp.makeFolder("Photos");
    fixtures::writeZip(temp / "Photos.zip", {{"a.txt", "a"}, {"sub/", "", Type::folder}});
    const fs::path first = ArchiveTools::unzip(temp / "Photos.zip", {});
    const fs::path second = ArchiveTools::unzip(temp / "Photos.zip", {});
    EXPECT_EQ(first, temp / "Photos 2");
    EXPECT_EQ(second, temp / "Photos 3");
    EXPECT_EQ(fixtures::treeOf(second), (std::vector<std::string>{"a.txt", "sub/"}));
    EXPECT_TRUE(fixtures::treeOf(temp / "Photos").empty());
}

TEST(Unzip, ReadsArchivesFromOtherWritersAndSkipsResourceForks) {
    TempFolder temp;
    // python's zipfile marks names the way other systems' archivers do.
    const auto made = fixtures::runPython(R"(
import sys, zipfile
with zipfile.ZipFile(sys.argv[1], "w", zipfile.ZIP_DEFLATED) as z:
    z.writestr("Docs/read me.txt", "hello " * 1000)
    z.writestr("__MACOSX/Docs/._read me.txt", "fork")
    z.writestr("Docs/._read me.txt", "fork")
    z.writestr("Docs/inner.zip", "PK\x05\x06" + "\0" * 18)
    z.writestr("README.txt", "upper")
    z.writestr("readme.txt", "lower")
)",
                                          {(temp / "Mac.zip").string()});
    ASSERT_EQ(made.status, 0) << made.output;
    const fs::path expanded = ArchiveTools::unzip(temp / "Mac.zip", {});
    // Names that differ only in case are both kept where the file system tells them apart;
    // an archive inside is a file like any other, never expanded in turn.
    EXPECT_EQ(fixtures::treeOf(expanded),
              (std::vector<std::string>{"Docs/", "Docs/inner.zip", "Docs/read me.txt", "README.txt",
                                        "readme.txt"}));
    EXPECT_EQ(readFile(expanded / "README.txt"), "upper");
    EXPECT_EQ(readFile(expanded / "readme.txt"), "lower");
}

} // namespace
} // namespace kelvane
