#include "catalogue/FileKind.h"
#include "catalogue/FileSize.h"
#include "fixtures/TempFolder.h"
#include "fixtures/Unprivileged.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

using fixtures::TempFolder;

void expectKinds(FileKind kind, std::initializer_list<const char*> names) {
    for (const char* name : names)
        EXPECT_EQ(FileKind::of(name), kind) << name;
}

TEST(FileKind, ExtensionCaseDoesNotMatter) {
    expectKinds(FileKind::image, {"Photo.JPG", "photo.jpg", "photo.Jpg", "/a/b/IMG_0001.HEIC"});
    expectKinds(FileKind::video, {"clip.MOV", "clip.Mp4"});
    expectKinds(FileKind::document, {"notes.md", "notes.TXT", "page.htm", "Letter.DOCX"});
}

TEST(FileKind, OnlyTheLastExtensionOfTheLastComponentCounts) {
    EXPECT_EQ(FileKind::of("archive.tar.gz"), FileKind::other);
    EXPECT_EQ(FileKind::of("archive.zip"), FileKind::archive);
    EXPECT_EQ(FileKind::of("Holiday photo.final.jpg"), FileKind::image);
    EXPECT_EQ(FileKind::of("photos.jpg/README"), FileKind::other);
    EXPECT_EQ(FileKind::of("report.pdf.zip"), FileKind::archive);
}

TEST(FileKind, NamesWithoutARealExtensionAreOther) {
    expectKinds(FileKind::other, {"README", "Holiday", ".jpg", ".profile", "trailing.", ""});
}

TEST(FileKind, FoldersAreClassifiedByTheirNameLikeFiles) {
    EXPECT_EQ(FileKind::of("/tmp/shots.png"), FileKind::image);
    EXPECT_EQ(FileKind::of("/tmp/shots.png/"), FileKind::image);
    EXPECT_EQ(FileKind::of("/tmp/Holiday/"), FileKind::other);
}

TEST(FileKind, ModernImageFormatsAreImagesAndDrawingsAreNot) {
    expectKinds(FileKind::image, {"picture.webp", "picture.avif", "picture.heif", "scan.tiff",
                                  "scan.tif", "icon.ico", "art.psd", "pic.jp2", "old.bmp"});
    expectKinds(FileKind::other, {"drawing.svg", "drawing.SVGZ"});
}

TEST(FileKind, EveryMediaExtensionOurDecodersReadHasAKind) {
    expectKinds(FileKind::video,
                {"a.mp4", "a.m4v", "a.mov", "a.mkv", "a.webm", "a.avi", "a.mpg", "a.mpeg", "a.ts",
                 "a.mts", "a.m2ts", "a.3gp", "a.wmv", "a.flv", "a.ogv"});
    expectKinds(FileKind::audio, {"a.m4a", "a.mp3", "a.aac", "a.wav", "a.aif", "a.aiff", "a.caf",
                                  "a.flac", "a.ogg", "a.oga", "a.opus", "a.wma"});
}

TEST(FileKind, TextLikeFilesAreDocumentsButPdfIsItsOwnKind) {
    expectKinds(FileKind::document,
                {"a.txt", "a.text", "a.csv", "a.tsv", "a.json", "a.xml", "a.yaml", "a.log",
                 "main.cpp", "script.py", "a.rtf", "a.rtfd", "a.odt", "a.doc"});
    EXPECT_EQ(FileKind::of("scan.pdf"), FileKind::pdf);
    EXPECT_EQ(FileKind::of("scan.PDF"), FileKind::pdf);
}

TEST(FileKind, ArchivesOtherThanZipAreOther) {
    expectKinds(FileKind::other, {"a.7z", "a.rar", "a.tar", "a.tgz", "a.xz", "a.bz2"});
}

TEST(FileKind, RawValuesMatchExactly) {
    for (FileKind kind : FileKind::allCases())
        EXPECT_EQ(FileKind::fromRawValue(kind.rawValue()), kind);
    EXPECT_EQ(FileKind::fromRawValue("image"), FileKind::image);
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
