#include "documents/ZipContainer.h"
#include "fixtures/DocumentQueries.h"
#include "fixtures/TempFolder.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

using fixtures::TempFolder;
using fixtures::writeBytes;
using fixtures::writeZip;

// What the builder wrote reads back, and its archive ends at its end record: without a
// comment, the last 22 bytes.
TEST(ZipContainer, ReadsBackWhatTheBuilderWrote) {
    TempFolder temp;
    ZipBuilder builder;
    builder.add("word/document.xml", QByteArray(30000, 'x'));
    builder.add("naïve/ü.txt", "ü");
    const QByteArray bytes = builder.finish();
    ASSERT_GT(bytes.size(), 22);
    EXPECT_TRUE(bytes.right(22).startsWith("PK\x05\x06"));
    const ZipContainer zip = ZipContainer::open(writeBytes(temp, "a.docx", bytes));
    EXPECT_EQ(zip.part("word/document.xml"), QByteArray(30000, 'x'));
    EXPECT_EQ(zip.part("naïve/ü.txt"), QByteArray("ü"));
    EXPECT_FALSE(zip.part("word/missing.xml"));
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
    const ZipContainer zip = ZipContainer::open(writeBytes(temp, "liar.docx", liar));
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
    const ZipContainer stored = ZipContainer::open(writeBytes(temp, "large.docx", large.finish()));
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
