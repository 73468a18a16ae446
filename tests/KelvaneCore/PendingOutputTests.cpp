#include "fixtures/TempFolder.h"
#include "fixtures/Unprivileged.h"
#include "naming/FileTimes.h"
#include "naming/OutputNaming.h"
#include "naming/PendingOutput.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelvane {
namespace {

using fixtures::readFile;
using fixtures::TempFolder;
namespace fs = std::filesystem;

std::vector<std::string> hiddenEntries(const TempFolder& temp) {
    std::vector<std::string> hidden;
    for (const auto& name : temp.entries())
        if (name.front() == '.')
            hidden.push_back(name);
    return hidden;
}

TEST(PendingOutput, PublishesUnderTheFreeNameAndLeavesNoTemporaryFile) {
    TempFolder temp;
    const fs::path input = temp.write("notes.txt", "original");
    const fs::path result = publishBytes("converted", temp.path(), "rtf",
                                         [&] { return OutputNaming::url(input, "rtf"); });
    EXPECT_EQ(result, temp / "notes (converted).rtf");
    EXPECT_EQ(readFile(result), "converted");
    EXPECT_EQ(readFile(input), "original");
    EXPECT_TRUE(hiddenEntries(temp).empty());
}

TEST(PendingOutput, ANameTakenAfterNamingIsNeverReplaced) {
    TempFolder temp;
    const fs::path input = temp.write("a.jpg", "x");
    const fs::path chosen = OutputNaming::url(input, "png");
    PendingOutput pending = PendingOutput::file(temp.path(), "png");
    std::ofstream(pending.path()) << "ours";

    // Someone else writes the chosen name between our naming and our publishing.
    temp.write(chosen.filename().string(), "theirs");
    bool first = true;
    const fs::path published = pending.publish([&] {
        const fs::path name = first ? chosen : OutputNaming::url(input, "png");
        first = false;
        return name;
    });

    EXPECT_EQ(published, temp / "a (converted 2).png");
    EXPECT_EQ(readFile(chosen), "theirs");
    EXPECT_EQ(readFile(published), "ours");
    EXPECT_TRUE(hiddenEntries(temp).empty());
}

TEST(PendingOutput, ProcessesRacingForOneNameAllSucceedUnderDifferentNames) {
    TempFolder temp;
    const fs::path input = temp.write("clip.mov", "x");
    constexpr int writers = 8;
    int gate[2];
    ASSERT_EQ(::pipe(gate), 0);
    std::vector<pid_t> children;
    for (int writer = 0; writer < writers; ++writer) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::close(gate[1]);
            try {
                PendingOutput pending = PendingOutput::file(temp.path(), "mp4");
                std::ofstream(pending.path()) << "writer " << writer;
                const fs::path stale = OutputNaming::url(input, "mp4");
                char go;
                (void)!::read(gate[0], &go, 1); // all writers hold the same name when released
                bool first = true;
                pending.publish([&] {
                    const fs::path name = first ? stale : OutputNaming::url(input, "mp4");
                    first = false;
                    return name;
                });
            } catch (...) {
                ::_exit(1);
            }
            ::_exit(0);
        }
        children.push_back(child);
    }
    ::close(gate[0]);
    ::close(gate[1]); // releases every writer at once
    for (pid_t child : children) {
        int status = 0;
        ::waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }

    std::set<std::string> contents;
    for (const auto& name : temp.entries())
        if (name != "clip.mov")
            contents.insert(readFile(temp / name));
    EXPECT_EQ(contents.size(), static_cast<std::size_t>(writers));
    EXPECT_EQ(temp.entries().size(), static_cast<std::size_t>(writers + 1));
    EXPECT_TRUE(fs::exists(temp / "clip (converted 8).mp4"));
    EXPECT_TRUE(hiddenEntries(temp).empty());
}

TEST(PendingOutput, AFailureBeforeOrWhilePublishingLeavesNothingBehind) {
    TempFolder temp;
    try {
        PendingOutput file = PendingOutput::file(temp.path(), "pdf");
        PendingOutput folder = PendingOutput::folder(temp.path());
        std::ofstream(file.path()) << "half a PDF";
        std::ofstream(folder.path() / "page 1.png") << "one page";
        EXPECT_EQ(temp.entries().size(), 1u); // the file has no name until it is published
        throw std::runtime_error("the encoder gave up");
    } catch (const std::runtime_error&) {
    }
    EXPECT_TRUE(temp.entries().empty());

    // Publishing into a folder that vanished fails cleanly.
    const fs::path target = temp.makeFolder("gone") / "result.txt";
    PendingOutput pending = PendingOutput::file(temp.path(), "txt");
    fs::remove(temp / "gone");
    EXPECT_THROW(pending.publish([&] { return target; }), std::system_error);
    pending.discard();
    EXPECT_TRUE(temp.entries().empty());
}

// A process killed mid-write leaves no unnamed file; the named file and staging folder it
// leaves are cleared once it is gone, while those of living processes stay.
TEST(PendingOutput, AKilledWriterLeavesNothingOnceItsLeftoversAreCleared) {
    TempFolder temp;
    const pid_t writer = ::fork();
    if (writer == 0) {
        PendingOutput file = PendingOutput::file(temp.path(), "mp4");
        PendingOutput named = PendingOutput::namedFile(temp.path(), "mov");
        PendingOutput folder = PendingOutput::folder(temp.path());
        std::ofstream(file.path()) << "half a video";
        std::ofstream(named.path()) << "half another";
        std::ofstream(folder.path() / "page 1.png") << "one page";
        ::kill(::getpid(), SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(writer, &status, 0), writer);
    ASSERT_TRUE(WIFSIGNALED(status));
    ASSERT_EQ(hiddenEntries(temp).size(), 2u) << "the unnamed file went with its process";

    const PendingOutput mine = PendingOutput::folder(temp.path());
    removeAbandoned(temp.path());
    EXPECT_EQ(temp.entries(), std::vector<std::string>{mine.path().filename().string()});
}

TEST(PendingOutput, FoldersPublishWholeWithoutReplacingAnExistingFolder) {
    TempFolder temp;
    temp.write("Report (pages)/mine.txt", "keep me");
    PendingOutput pages = PendingOutput::folder(temp.path());
    std::ofstream(pages.path() / "Report – page 1.png") << "png";
    const fs::path published =
        pages.publish([&] { return OutputNaming::url(temp / "Report.pdf", "", "pages"); });

    EXPECT_EQ(published, temp / "Report (pages 2)");
    EXPECT_EQ(readFile(published / "Report – page 1.png"), "png");
    EXPECT_EQ(readFile(temp / "Report (pages)/mine.txt"), "keep me");
}

TEST(PendingOutput, ResultsGetOrdinaryPermissionsAndKeepTheTimesAppliedBeforePublishing) {
    TempFolder temp;
    const fs::path file = publishBytes("x", temp.path(), "txt", [&] { return temp / "r.txt"; });
    PendingOutput folder = PendingOutput::folder(temp.path());
    const fs::path published = folder.publish([&] { return temp / "R"; });

    const mode_t mask = ::umask(022);
    ::umask(mask);
    struct stat fileStatus {
    }, folderStatus{};
    ASSERT_EQ(::stat(file.c_str(), &fileStatus), 0);
    ASSERT_EQ(::stat(published.c_str(), &folderStatus), 0);
    EXPECT_EQ(fileStatus.st_mode & 0777, 0666 & ~mask);
    EXPECT_EQ(folderStatus.st_mode & 0777, 0777 & ~mask);

    // Times applied before publishing stay on the published result.
    const fs::path input = temp.write("old.txt", "x");
    const timespec past[2] = {{1'000'000'000, 0}, {1'200'000'000, 500}};
    ASSERT_EQ(::utimensat(AT_FDCWD, input.c_str(), past, 0), 0);

    const FileTimes times = FileTimes::of(input);
    PendingOutput pending = PendingOutput::file(temp.path(), "txt");
    std::ofstream(pending.path()) << "converted";
    times.applyTo(pending.path());
    const fs::path dated = pending.publish([&] { return OutputNaming::url(input, "txt"); });

    struct stat status {};
    ASSERT_EQ(::stat(dated.c_str(), &status), 0);
    EXPECT_EQ(status.st_mtim.tv_sec, 1'200'000'000);
    EXPECT_EQ(status.st_mtim.tv_nsec, 500);
    EXPECT_THROW(FileTimes::of(temp / "missing.txt"), std::system_error);
}

TEST(PendingOutput, AFolderMadeReadOnlyMidJobGetsNoResultAndNoLeftover) {
    // As an ordinary user: root could write into the read-only folder anyway.
    const std::string outcome = fixtures::runUnprivileged([] {
        std::string folderName = (fs::temp_directory_path() / "kelvane-readonly-XXXXXX").string();
        if (::mkdtemp(folderName.data()) == nullptr)
            return std::string("no folder");
        const fs::path folder = folderName;
        std::string result;
        {
            PendingOutput pending = PendingOutput::file(folder, "pdf");
            std::ofstream(pending.path()) << "half a document";
            ::chmod(folder.c_str(), 0555);
            try {
                pending.publish([&] { return folder / "Report.pdf"; });
                result = "published";
            } catch (const std::system_error& error) {
                result = error.what();
            }
        }
        struct stat status {};
        ::stat(folder.c_str(), &status);
        result += " | mode " + std::to_string(status.st_mode & 0777);
        for (const auto& entry : fs::directory_iterator(folder))
            result += " | left " + entry.path().filename().string();
        ::chmod(folder.c_str(), 0755);
        fs::remove_all(folder);
        return result;
    });
    EXPECT_EQ(outcome, "Couldn’t save the result: Permission denied | mode 365");
}

} // namespace
} // namespace kelvane
