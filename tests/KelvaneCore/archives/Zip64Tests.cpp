#include "ArchiveFixtures.h"
#include "archives/ArchiveTools.h"
#include "fixtures/TempFolder.h"

#include <QJsonObject>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using fixtures::TempFolder;

// Past 4 GB both the entry and the archive need the Zip64 records. The file is sparse, so
// the test costs time (reading and deflating 5 GB of zeros) but no disk.
TEST(Zip64, FiveGigabyteSparseFileRoundTripsThroughZip64) {
    TempFolder temp;
    constexpr std::uintmax_t size = 5'000'000'000;
    // Expanding checks the free space against the logical size, holes or not.
    if (fs::space(temp.path()).available < size + (1ull << 30))
        GTEST_SKIP() << "needs 6 GB free to expand the archive";
    temp.write("Big/tail.txt", "after the big one");
    {
        const fs::path big = temp / "Big/sparse.bin";
        temp.write("Big/sparse.bin", "start");
        fs::resize_file(big, size);
    }
    const fs::path zip = ArchiveTools::zip({temp / "Big"}, {});
    const auto tested = fixtures::runCommand("unzip", {"-tq", zip.string()});
    EXPECT_EQ(tested.status, 0) << tested.output;
    const auto listed = fixtures::runCommand("bsdtar", {"-tf", zip.string()});
    EXPECT_EQ(listed.status, 0) << listed.output;
    const QJsonArray entries = fixtures::zipEntries(zip);
    ASSERT_EQ(entries.size(), 3);
    EXPECT_EQ(entries[1].toObject()["size"].toDouble(), static_cast<double>(size));

    fs::rename(temp / "Big", temp / "Original");
    const fs::path expanded = ArchiveTools::unzip(zip, {});
    EXPECT_EQ(fs::file_size(expanded / "Big/sparse.bin"), size);
    EXPECT_EQ(fixtures::readFile(expanded / "Big/tail.txt"), "after the big one");
    struct stat status {};
    ::stat((expanded / "Big/sparse.bin").c_str(), &status);
    EXPECT_LT(status.st_blocks * 512, 100'000'000) << "the zeros should be holes again";
}

} // namespace
} // namespace kelvane
