#include "ArchiveFixtures.h"
#include "archives/ArchiveTools.h"
#include "fixtures/TempFolder.h"
#include "naming/ConversionError.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using fixtures::TempFolder;

// Builds hostile archives byte by byte where no honest writer would go.
const char* const hostileZips = R"(
import struct, sys, zipfile, zlib
kind, path = sys.argv[1], sys.argv[2]

def link(z, name, target):
    info = zipfile.ZipInfo(name)
    info.create_system = 3
    info.external_attr = 0o120777 << 16
    z.writestr(info, target)

def patch(old, new):
    raw = open(path, "rb").read()
    open(path, "wb").write(raw.replace(old, new))

if kind == "overlap":
    # One compressed run of zeros shared by many central-directory entries: each entry
    # expands it again, far beyond what the archive's size could hold honestly.
    size = 8 << 20
    packer = zlib.compressobj(9, zlib.DEFLATED, -15)
    data = packer.compress(bytes(size)) + packer.flush()
    crc = zlib.crc32(bytes(size))
    local = struct.pack("<IHHHHHIIIHH", 0x04034B50, 20, 0, 8, 0, 0x21, crc, len(data), size, 1, 0) + b"0"
    central = b""
    count = 300
    for i in range(count):
        name = str(i).encode()
        central += struct.pack("<IHHHHHHIIIHHHHHII", 0x02014B50, 20, 20, 0, 8, 0, 0x21, crc,
                               len(data), size, len(name), 0, 0, 0, 0, 0, 0) + name
    end = struct.pack("<IHHHHIIH", 0x06054B50, 0, 0, count, count, len(central),
                      len(local) + len(data), 0)
    open(path, "wb").write(local + data + central + end)
    sys.exit()

deflated = kind in ("lying-size", "huge-claim", "zeros", "valid")
with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED if deflated else zipfile.ZIP_STORED) as z:
    if kind in ("slip", "absolute"):
        z.writestr("good.txt", "good")
        z.writestr(zipfile.ZipInfo("../../evil.txt" if kind == "slip" else sys.argv[3]), "evil")
    elif kind == "link-out":
        link(z, "escape", sys.argv[3])
        z.writestr("escape/evil.txt", "evil")
    elif kind == "link-chain":
        z.writestr("d/keep.txt", "keep")
        link(z, "d/up", "..")
        link(z, "x", "d/up/..")
    elif kind == "link-inside-then-through":
        z.writestr("real/keep.txt", "keep")
        link(z, "alias", "real")
        z.writestr("alias/through.txt", "through")
    elif kind == "backslash":
        z.writestr(zipfile.ZipInfo("..\\..\\evil.txt"), "evil")
    elif kind == "lying-size":
        z.writestr("zeros.bin", bytes(8 << 20))
    elif kind == "huge-claim":
        z.writestr("claims.bin", bytes(1 << 20))
    elif kind == "long-name":
        z.writestr("a" * 5000, "long")
    elif kind == "deep-name":
        z.writestr("/".join(["d" * 100] * 50), "deep")
    elif kind == "invalid-utf8":
        z.writestr("bad_XY_name.txt", "bytes")
    elif kind == "many":
        for i in range(50):
            z.writestr("f%d.txt" % i, "x")
    elif kind == "zeros":
        z.writestr("zeros.bin", bytes(32 << 20))
    elif kind == "valid":
        for i in range(20):
            z.writestr("file%d.txt" % i, ("line %d\n" % i) * 5000)
if kind == "lying-size":  # both headers now promise 1000 bytes
    patch(struct.pack("<I", 8 << 20), struct.pack("<I", 1000))
elif kind == "huge-claim":
    patch(struct.pack("<I", 1 << 20), struct.pack("<I", 0xFFFFFF00))
elif kind == "invalid-utf8":
    patch(b"_XY_", b"_\xff\xfe_")
)";

// The layout every hostile case expands in: the archive sits in "box", beside "outside".
// Whatever the archive tries, after the attempt "box" holds the archive alone and the rest of
// the temporary folder is as it was.
class HostileArchive : public testing::Test {
protected:
    HostileArchive() {
        temp.write("outside/keep.txt", "keep");
        temp.makeFolder("box");
    }

    fs::path make(const std::string& kind, const std::string& extra = {}) {
        const fs::path zip = temp / "box" / (kind + ".zip");
        std::vector<std::string> arguments = {kind, zip.string()};
        if (!extra.empty())
            arguments.push_back(extra);
        const auto made = fixtures::runPython(hostileZips, arguments);
        EXPECT_EQ(made.status, 0) << made.output;
        return zip;
    }

    // Expands `zip` expecting a refusal; returns its sentence.
    std::string refusal(const fs::path& zip, const ArchiveTools::ExpansionLimits& limits = {}) {
        try {
            const fs::path expanded = ArchiveTools::unzip(zip, {}, limits);
            ADD_FAILURE() << "expanded into " << expanded;
        } catch (const ConversionError& error) {
            expectNothingWritten(zip);
            fs::remove(zip);
            return error.message();
        }
        return {};
    }

    void expectNothingWritten(const fs::path& zip) {
        EXPECT_EQ(fixtures::treeOf(temp.path()),
                  (std::vector<std::string>{"box/", "box/" + zip.filename().string(), "outside/",
                                            "outside/keep.txt"}));
    }

    TempFolder temp;
};

// Paths or links leading out (backslashes being separators too), headers promising too much,
// too many items and names too long: each refused with its sentence and nothing written.
TEST_F(HostileArchive, RefusalsNameWhatTheArchiveTriedAndWriteNothing) {
    const std::string absolute = (temp / "outside/evil.txt").string();
    const std::string landsOutside = "” would land outside the folder it expands into.";
    const std::string climbs = "“../../evil.txt" + landsOutside;
    const std::string linkOut = "the link “escape” points outside the folder it expands into.";
    const std::string tooLong = "it holds a name too long for this computer’s files.";
    ArchiveTools::ExpansionLimits tight;
    tight.maxRatio = 100;
    tight.ratioFloorBytes = 1 << 20;
    ArchiveTools::ExpansionLimits few;
    few.maxEntries = 10;
    struct Case {
        std::string kind, extra;
        ArchiveTools::ExpansionLimits limits;
        std::string why;
    };
    const Case cases[] = {
        {"slip", "", {}, climbs},
        {"absolute", absolute, {}, "“" + absolute + landsOutside},
        {"backslash", "", {}, climbs},
        {"link-out", (temp / "outside").string(), {}, linkOut},
        {"link-out", "../../outside", {}, linkOut},
        // Each link alone stays inside; followed one through the other, they leave.
        {"link-chain", "", {}, "the link “x” points outside the folder it expands into."},
        {"zeros", "", tight, "it would grow to more than 100 times its own size."},
        {"many", "", few, "it holds more than 10 items."},
        {"long-name", "", {}, tooLong},
        {"deep-name", "", {}, tooLong},
    };
    for (const Case& each : cases)
        EXPECT_EQ(refusal(make(each.kind, each.extra), each.limits),
                  "“" + each.kind + ".zip” wasn’t expanded: " + each.why);
}

TEST_F(HostileArchive, NothingIsWrittenThroughALinkEvenOneStayingInside) {
    const std::string message = refusal(make("link-inside-then-through"));
    EXPECT_NE(message.find("symlink"), std::string::npos) << message;
}

TEST_F(HostileArchive, HeadersPromisingAHugeExpansionAreRefusedBeforeWriting) {
    const fs::path bomb = make("huge-claim");
    ASSERT_LT(fs::file_size(bomb), 10'000u); // promises 4 GB
    EXPECT_EQ(refusal(bomb),
              "“huge-claim.zip” wasn’t expanded: it would grow to more than 1100 times its own "
              "size.");
}

TEST_F(HostileArchive, EntriesSharingTheirDataExpandOnlyOnce) {
    const fs::path bomb = make("overlap");
    ASSERT_LT(fs::file_size(bomb), 100'000u); // 300 entries, each naming the same 8 MB
    const fs::path expanded = ArchiveTools::unzip(bomb, {});
    EXPECT_EQ(fixtures::treeOf(expanded), std::vector<std::string>{"0"});
    EXPECT_EQ(fs::file_size(expanded / "0"), 8u << 20);
}

TEST_F(HostileArchive, ExpansionStopsAtTheBoundWhateverTheHeadersPromise) {
    ArchiveTools::ExpansionLimits tight;
    tight.maxRatio = 100;
    tight.ratioFloorBytes = 1 << 20;
    // Lying headers (honest ones are refused before writing): stopped while writing.
    const std::string lying = refusal(make("lying-size"), tight);
    EXPECT_FALSE(lying.empty());
}

TEST_F(HostileArchive, ArchivesLargerThanTheFreeSpaceAreRefused) {
    ArchiveTools::ExpansionLimits reserveAll;
    reserveAll.reservedBytes = std::int64_t{1} << 60; // as if the disk were full
    const std::string message = refusal(make("valid"), reserveAll);
    EXPECT_EQ(message.rfind("There isn’t enough free space to expand “valid.zip”: it needs ", 0),
              0u)
        << message;
}

TEST_F(HostileArchive, DamagedAndFakeArchivesFailWithTheReadersReason) {
    const fs::path valid = make("valid");
    const std::string bytes = fixtures::readFile(valid);
    fs::remove(valid);
    const fs::path truncated = temp.write("box/truncated.zip", bytes.substr(0, bytes.size() / 2));
    const std::string damaged = refusal(truncated);
    EXPECT_FALSE(damaged.empty());
    EXPECT_EQ(damaged.find('\n'), std::string::npos);

    const fs::path fake = temp.write("box/fake.zip", "\x89PNG\r\n\x1a\n not a zip at all");
    EXPECT_EQ(refusal(fake), "Unrecognized archive format.");
    EXPECT_EQ(refusal(temp.write("box/empty.zip", "")), "Unrecognized archive format.");

    // Every flag bit set in the first entry's header: the reader gives up without a reason.
    std::string garbled = bytes;
    garbled.replace(6, 2, "\xFF\x7F");
    EXPECT_EQ(refusal(temp.write("box/garbled.zip", garbled)),
              "“garbled.zip” is damaged and can’t be expanded.");
}

TEST_F(HostileArchive, EncryptedArchivesGetAClearSentence) {
    const fs::path zip = temp / "box/secret.zip";
    fixtures::writeZip(zip, {{"plans.txt", "the plans"}}, "hunter2");
    EXPECT_EQ(refusal(zip),
              "“secret.zip” is protected by a password. Encrypted archives can’t be expanded.");
}

TEST_F(HostileArchive, NamesThatAreNotUtf8ExpandInsideTheFolder) {
    const fs::path expanded = ArchiveTools::unzip(make("invalid-utf8"), {});
    const std::vector<std::string> tree = fixtures::treeOf(expanded);
    ASSERT_EQ(tree.size(), 1u);
    EXPECT_EQ(fixtures::readFile(expanded / tree.front()), "bytes");
    EXPECT_EQ(fixtures::treeOf(temp / "outside"), std::vector<std::string>{"keep.txt"});
}

} // namespace
} // namespace kelvane
