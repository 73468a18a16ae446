#include "engine/Engine.h"
#include "fixtures/FailureOf.h"
#include "fixtures/TempFolder.h"

#include <gtest/gtest.h>
#include <mutex>

namespace kelvane {
namespace {

using fixtures::TempFolder;
namespace fs = std::filesystem;

class ProgressLog {
public:
    Engine::Progress callback() {
        return [this](double fraction) {
            const std::lock_guard lock(mutex_);
            reports_.push_back(fraction);
        };
    }
    std::vector<double> reports() const {
        const std::lock_guard lock(mutex_);
        return reports_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<double> reports_;
};

std::string failureOf(Recipe recipe, const std::vector<fs::path>& inputs, ProgressLog& log) {
    return fixtures::failureOf([&] { Engine::run(recipe, inputs, {}, log.callback()); });
}

TEST(Engine, NoInputOrOneOfTheWrongKindFailsBeforeAnyProgressOrWrite) {
    TempFolder temp;
    ProgressLog log;
    EXPECT_EQ(failureOf(Recipe::docToPDF, {}, log), "Nothing to convert.");
    const std::vector<fs::path> inputs = {temp.write("a.txt", "a"), temp.write("b.txt", "b"),
                                          temp.write("photo.png", "p"), temp.write("c.txt", "c")};
    EXPECT_EQ(failureOf(Recipe::docToHTML, inputs, log),
              "Convert to HTML doesn’t work with “photo.png”.");
    EXPECT_TRUE(log.reports().empty());
    EXPECT_EQ(temp.entries().size(), 4u);
}

TEST(Engine, ResultsComeInInputOrderWithProgressAndTheFirstFailureEndsTheRun) {
    TempFolder temp;
    const std::vector<fs::path> inputs = {temp.write("one.txt", "1"), temp.write("two.md", "2"),
                                          temp.write("three.htm", "<p>3</p>")};
    ProgressLog log;
    const auto results = Engine::run(Recipe::docToTXT, inputs, {}, log.callback());
    ASSERT_EQ(results.size(), 3u);
    EXPECT_EQ(results[0], temp / "one (converted).txt");
    EXPECT_EQ(results[1], temp / "two (converted).txt");
    EXPECT_EQ(results[2], temp / "three (converted).txt");
    const auto reports = log.reports();
    ASSERT_GE(reports.size(), 2u);
    EXPECT_EQ(reports.front(), 0.0);
    EXPECT_EQ(reports.back(), 1.0);
    EXPECT_TRUE(std::is_sorted(reports.begin(), reports.end()));

    // The first failure ends the run and keeps the results before it.
    const std::vector<fs::path> failing = {temp.write("good.txt", "fine"),
                                           temp.write("bad.docx", "\x89PNG\r\n\x1a\n"),
                                           temp.write("later.txt", "never reached")};
    ProgressLog failingLog;
    EXPECT_EQ(failureOf(Recipe::docToTXT, failing, failingLog),
              "“bad.docx” couldn’t be read as a document.");
    EXPECT_TRUE(fs::exists(temp / "good (converted).txt"));
    EXPECT_FALSE(fs::exists(temp / "later (converted).txt"));
    EXPECT_EQ(failingLog.reports().back(), 1.0);
}

} // namespace
} // namespace kelvane
