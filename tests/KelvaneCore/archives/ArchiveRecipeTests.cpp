#include "ArchiveFixtures.h"
#include "archives/ArchiveTools.h"
#include "engine/Engine.h"
#include "fixtures/TempFolder.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using fixtures::TempFolder;

TEST(ArchiveRecipes, TheEngineZipsSeveralItemsAndExpandsTheResult) {
    TempFolder temp;
    const std::vector<fs::path> items = {temp.write("a.txt", std::string(1 << 20, 'a')),
                                         temp.write("b.txt", std::string(1 << 20, 'b')),
                                         temp.write("c/d.txt", "d").parent_path()};
    std::vector<double> reports;
    const auto record = [&](double fraction) {
        reports.push_back(fraction);
    };
    const auto zipped = Engine::run(Recipe::zip, items, {}, record);
    ASSERT_EQ(zipped, std::vector<fs::path>{temp / "Archive.zip"});
    EXPECT_TRUE(std::is_sorted(reports.begin(), reports.end()));
    EXPECT_GT(reports.size(), 3u);

    reports.clear();
    const auto expanded = Engine::run(Recipe::unzip, zipped, {}, record);
    ASSERT_EQ(expanded, std::vector<fs::path>{temp / "Archive"});
    EXPECT_EQ(fixtures::treeOf(expanded.front()),
              (std::vector<std::string>{"a.txt", "b.txt", "c/", "c/d.txt"}));
    EXPECT_EQ(fixtures::readFile(temp / "Archive/b.txt"), std::string(1 << 20, 'b'));
    EXPECT_TRUE(std::is_sorted(reports.begin(), reports.end()));
    EXPECT_EQ(reports.back(), 1.0);
}

TEST(ArchiveRecipes, TheCommandLineZipsAndUnzipsWithProgress) {
    TempFolder temp;
    temp.write("x.txt", "x");
    temp.write("y.txt", "y");
    const auto zipped = fixtures::runCommand(
        KELVANE_CLI_PATH,
        {"convert", "--recipe", "zip", (temp / "x.txt").string(), (temp / "y.txt").string()});
    ASSERT_EQ(zipped.status, 0) << zipped.output;
    EXPECT_NE(zipped.output.find("100%"), std::string::npos) << zipped.output;
    const auto unzipped = fixtures::runCommand(
        KELVANE_CLI_PATH, {"convert", "--recipe", "unzip", (temp / "Archive.zip").string()});
    ASSERT_EQ(unzipped.status, 0) << unzipped.output;
    EXPECT_EQ(fixtures::treeOf(temp / "Archive"), (std::vector<std::string>{"x.txt", "y.txt"}));

    temp.write("broken.zip", "PK\x03\x04 and then nothing");
    const auto broken = fixtures::runCommand(
        KELVANE_CLI_PATH, {"convert", "--recipe", "unzip", (temp / "broken.zip").string()});
    EXPECT_EQ(broken.status, 1);
    EXPECT_FALSE(fs::exists(temp / "broken"));
}

} // namespace
} // namespace kelvane
