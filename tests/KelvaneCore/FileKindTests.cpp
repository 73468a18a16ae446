#include "catalogue/FileKind.h"
#include "catalogue/FileSize.h"
#include "fixtures/TempFolder.h"
#include "fixtures/Unprivileged.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

using fixtures::TempFolder;

// Case does not matter, only the last extension of the last component counts, folders are
// named like files, and every extension our decoders read has a kind.
TEST(FileKind, ExtensionsNameTheKind) {
    const std::pair<FileKind::Value, std::vector<const char*>> table[] = {
        {FileKind::image,
         {"Photo.JPG", "photo.jpg", "photo.Jpg", "/a/b/IMG_0001.HEIC", "Holiday photo.final.jpg",
          "/tmp/shots.png", "/tmp/shots.png/", "picture.webp", "picture.avif", "picture.heif",
          "scan.tiff", "scan.tif", "icon.ico", "art.psd", "pic.jp2", "old.bmp"}},
        {FileKind::video,
         {"clip.MOV", "clip.Mp4", "a.m4v", "a.mkv", "a.webm", "a.avi", "a.mpg", "a.mpeg", "a.ts",
          "a.mts", "a.m2ts", "a.3gp", "a.wmv", "a.flv", "a.ogv"}},
        {FileKind::audio,
         {"a.m4a", "a.mp3", "a.aac", "a.wav", "a.aif", "a.aiff", "a.caf", "a.flac", "a.ogg",
          "a.oga", "a.opus", "a.wma"}},
        {FileKind::document,
         {"notes.md", "notes.TXT", "page.htm", "Letter.DOCX", "a.text", "a.csv", "a.tsv", "a.json",
          "a.xml", "a.yaml", "a.log", "main.cpp", "script.py", "a.rtf", "a.rtfd", "a.odt",
          "a.doc"}},
        {FileKind::pdf, {"scan.pdf", "scan.PDF"}},
        {FileKind::archive, {"archive.zip", "report.pdf.zip"}},
        {FileKind::other,
         {"archive.tar.gz", "photos.jpg/README", "/tmp/Holiday/", "README", "Holiday", ".jpg",
          ".profile", "trailing.", "", "drawing.svg", "drawing.SVGZ", "a.7z", "a.rar", "a.tar",
          "a.tgz", "a.xz", "a.bz2"}},
    };
    for (const auto& [kind, names] : table)
        for (const char* name : names)
            EXPECT_EQ(FileKind::of(name), kind) << name;

    for (FileKind kind : FileKind::allCases())
        EXPECT_EQ(FileKind::fromRawValue(kind.rawValue()), kind);
    EXPECT_FALSE(FileKind::fromRawValue("Image"));
    EXPECT_FALSE(FileKind::fromRawValue("movie"));
}

TEST(FileSize, MeasuresFilesAndSumsFoldersDeeply) {
    TempFolder temp;
    temp.writeBytes("one.bin", 7);
    temp.writeBytes("tree/a/ten.bin", 10);
    temp.writeBytes("tree/a/b/twenty.bin", 20);
    temp.writeBytes("tree/.hidden", 5);
    temp.makeFolder("empty");

    EXPECT_EQ(FileSize::of(temp / "one.bin"), 7);
    EXPECT_EQ(FileSize::of(temp / "tree"), 35);
    EXPECT_EQ(FileSize::of(temp / "empty"), 0);
    EXPECT_EQ(FileSize::of(temp / "missing"), 0);
    EXPECT_EQ(FileSize::of(temp.path()), 42);
}

TEST(FileSize, LinksInsideFoldersAreNotFollowed) {
    TempFolder temp;
    temp.writeBytes("big/data.bin", 1000);
    temp.writeBytes("box/small.bin", 3);
    std::filesystem::create_symlink(temp / "big", temp / "box/link-to-folder");
    std::filesystem::create_symlink(temp / "big/data.bin", temp / "box/link-to-file");
    std::filesystem::create_directory_symlink(temp / "box", temp / "box/loop");

    EXPECT_EQ(FileSize::of(temp / "box"), 3);
}

TEST(FileSize, SkipsWhatCannotBeReadAndCountsTheRest) {
    TempFolder temp;
    temp.writeBytes("mixed/readable.bin", 15);
    temp.writeBytes("mixed/locked/secret.bin", 500);
    std::filesystem::permissions(temp / "mixed/locked", std::filesystem::perms::owner_all);
    temp.writeBytes("sealed/inside.bin", 9);
    std::filesystem::permissions(temp / "sealed", std::filesystem::perms::none);

    const auto sizes = fixtures::runUnprivileged([&] {
        return std::to_string(FileSize::of(temp / "mixed")) + " " +
               std::to_string(FileSize::of(temp / "sealed"));
    });
    EXPECT_EQ(sizes, "15 0");
}

} // namespace
} // namespace kelvane
