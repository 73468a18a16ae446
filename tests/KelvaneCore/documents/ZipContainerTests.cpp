#include "documents/ZipContainer.h"
#include "fixtures/TempFolder.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

using fixtures::TempFolder;

std::filesystem::path writeZip(const TempFolder& temp, const char* name,
                               const std::vector<std::pair<std::string, QByteArray>>& parts) {
    ZipBuilder builder;
    for (const auto& [path, bytes] : parts)
        builder.add(path, bytes);
    const QByteArray zip = builder.finish();
    return temp.write(name,
                      std::string_view(zip.constData(), static_cast<std::size_t>(zip.size())));
}

TEST(ZipContainer, ReadsBackWhatTheBuilderWrote) {
    TempFolder temp;
    const auto file =
        writeZip(temp, "a.docx", {{"word/document.xml", "<w:document/>"}, {"naïve/ü.txt", "ü"}});
    const ZipContainer zip = ZipContainer::open(file);
    EXPECT_EQ(zip.part("word/document.xml"), QByteArray("<w:document/>"));
    EXPECT_EQ(zip.part("naïve/ü.txt"), QByteArray("ü"));
    EXPECT_FALSE(zip.part("word/missing.xml"));
}

TEST(ZipContainer, BuiltArchivesEndAtTheirEndRecord) {
    ZipBuilder builder;
    builder.add("word/document.xml", QByteArray(30000, 'x'));
    const QByteArray zip = builder.finish();
    // The end-of-central-directory record, without a comment, is the last 22 bytes.
    ASSERT_GT(zip.size(), 22);
    EXPECT_TRUE(zip.right(22).startsWith("PK\x05\x06"));
}

TEST(ZipContainer, RefusesArchivesThatExpandFarBeyondTheirSize) {
    TempFolder temp;
    const auto bomb =
        writeZip(temp, "bomb.docx", {{"word/document.xml", QByteArray(40 << 20, ' ')}});
    ASSERT_LT(std::filesystem::file_size(bomb), 1u << 20);
    EXPECT_THROW(ZipContainer::open(bomb), std::runtime_error);

    // A part that declares a small size passes the check at open, but is cut off as soon as it
    // inflates beyond it, whether read whole or as a stream.
    ZipBuilder builder;
    builder.add("word/document.xml", QByteArray(1 << 20, 'x'));
    QByteArray liar = builder.finish();
    const auto declare = [&](const char* signature, qsizetype sizeOffset) {
        const qsizetype header = liar.indexOf(signature);
        ASSERT_GE(header, 0);
        const char declared[4] = {100, 0, 0, 0};
        liar.replace(header + sizeOffset, 4, declared, 4);
    };
    declare("PK\x03\x04", 22); // local header
    declare("PK\x01\x02", 24); // central directory
    const ZipContainer zip = ZipContainer::open(temp.write(
        "liar.docx", std::string_view(liar.constData(), static_cast<std::size_t>(liar.size()))));
    EXPECT_THROW(zip.part("word/document.xml"), std::runtime_error);
    const auto stream = zip.stream("word/document.xml");
    ASSERT_TRUE(stream);
    EXPECT_LE(stream->readAll().size(), 1 << 16);
    EXPECT_THROW(stream->check(), std::runtime_error);

    // A part larger than a part read whole may be is refused whole, yet streams; stored, it
    // keeps the archive within its ratio.
    ZipBuilder large;
    const QByteArray styles(ZipContainer::maxPartBytes + 1, 'x');
    large.add("word/styles.xml", styles, ZipBuilder::Compression::store);
    large.add("word/settings.xml", "<w:settings/>");
    const QByteArray largeZip = large.finish();
    const ZipContainer stored = ZipContainer::open(
        temp.write("large.docx", std::string_view(largeZip.constData(),
                                                  static_cast<std::size_t>(largeZip.size()))));
    EXPECT_FALSE(stored.fitsWhole("word/styles.xml"));
    EXPECT_THROW(stored.part("word/styles.xml"), std::runtime_error);
    EXPECT_EQ(stored.stream("word/styles.xml")->readAll().size(), styles.size());
    EXPECT_EQ(stored.part("word/settings.xml"), QByteArray("<w:settings/>"));
}

TEST(ZipContainer, RefusesFilesThatAreNotZips) {
    TempFolder temp;
    EXPECT_THROW(ZipContainer::open(temp.write("fake.docx", "\x89PNG\r\n\x1a\n not a zip")),
                 std::runtime_error);
    EXPECT_THROW(ZipContainer::open(temp.write("empty.docx", "")), std::runtime_error);
    EXPECT_THROW(ZipContainer::open(temp / "missing.docx"), std::runtime_error);
}

TEST(ZipContainer, RelationshipTargetsNeverLeaveTheArchive) {
    EXPECT_EQ(ZipContainer::resolve("word/document.xml", "media/image1.png"),
              "word/media/image1.png");
    EXPECT_EQ(ZipContainer::resolve("word/document.xml", "../customXml/item.xml"),
              "customXml/item.xml");
    EXPECT_EQ(ZipContainer::resolve("word/document.xml", "/word/media/a.png"), "word/media/a.png");
    EXPECT_FALSE(ZipContainer::resolve("word/document.xml", "../../etc/passwd"));
    EXPECT_FALSE(ZipContainer::resolve("word/document.xml", "file:///etc/passwd"));
    EXPECT_FALSE(ZipContainer::resolve("word/document.xml", ""));
}

} // namespace
} // namespace kelvane
