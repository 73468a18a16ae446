#include "archives/ArchiveTools.h"
#include "documents/DocumentFormats.h"
#include "fixtures/TempFolder.h"
#include "options/ConversionOptions.h"

#include <QTextDocument>

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <vector>

// The fuzzers' seeds must be documents our readers accept (a seed that fails to parse
// teaches the fuzzer nothing), and every input a fuzzer ever crashed on stays here as a
// regression: it must now be read or refused with an exception, under the sanitizers.
namespace kelvane {
namespace {

namespace fs = std::filesystem;

const fs::path fuzzFolder = fs::path(KELVANE_TEST_FILES).parent_path().parent_path() / "fuzz";

std::vector<fs::path> filesIn(const fs::path& folder) {
    std::vector<fs::path> files;
    if (fs::is_directory(folder))
        for (const auto& entry : fs::directory_iterator(folder))
            files.push_back(entry.path());
    return files;
}

std::unique_ptr<QTextDocument> readAs(const std::string& format, const fs::path& file) {
    if (format == "docx")
        return DocumentFormats::readDocx(file);
    if (format == "odt")
        return DocumentFormats::readOdt(file);
    return DocumentFormats::readRtf(DocumentFormats::readSource(file));
}

QByteArray contents(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    return QByteArray::fromStdString(bytes);
}

TEST(FuzzCorpus, EverySeedIsADocumentOurReaderAccepts) {
    for (const std::string format : {"docx", "odt", "rtf"}) {
        const auto seeds = filesIn(fuzzFolder / "corpus" / format);
        EXPECT_FALSE(seeds.empty()) << format;
        for (const fs::path& seed : seeds) {
            const auto document = readAs(format, seed);
            EXPECT_TRUE(document->toPlainText().contains("Dear") ||
                        document->toPlainText().contains("Annual Report"))
                << seed;
        }
    }
    const auto optionSeeds = filesIn(fuzzFolder / "corpus" / "options");
    EXPECT_FALSE(optionSeeds.empty());
    for (const fs::path& seed : optionSeeds)
        EXPECT_TRUE(ConversionOptions::fromJSON(contents(seed))) << seed;

    const auto zipSeeds = filesIn(fuzzFolder / "corpus" / "zip");
    EXPECT_FALSE(zipSeeds.empty());
    for (const fs::path& seed : zipSeeds) {
        fixtures::TempFolder temp;
        fs::copy_file(seed, temp.path() / seed.filename());
        const fs::path expanded = ArchiveTools::unzip(temp.path() / seed.filename(), [](double) {});
        EXPECT_FALSE(fs::is_empty(expanded)) << seed;
    }
}

TEST(FuzzCorpus, InputsThatOnceCrashedAReaderAreReadOrRefused) {
    for (const std::string format : {"docx", "odt", "rtf"}) {
        for (const fs::path& finding : filesIn(fuzzFolder / "findings" / format)) {
            try {
                readAs(format, finding);
            } catch (const std::exception&) {
                // Refused with a sentence: the expected outcome for most findings.
            }
        }
    }
    for (const fs::path& finding : filesIn(fuzzFolder / "findings" / "zip")) {
        fixtures::TempFolder temp;
        fs::copy_file(finding, temp.path() / "finding.zip");
        try {
            ArchiveTools::unzip(temp.path() / "finding.zip", [](double) {});
        } catch (const std::exception&) {
        }
        for (const std::string& name : temp.entries())
            EXPECT_TRUE(name == "finding.zip" || name == "finding") << name;
    }
    for (const fs::path& finding : filesIn(fuzzFolder / "findings" / "options"))
        EXPECT_EQ(
            ConversionOptions::restored(contents(finding)).toJSON(),
            ConversionOptions::fromJSON(contents(finding)).value_or(ConversionOptions{}).toJSON());
}

} // namespace
} // namespace kelvane
