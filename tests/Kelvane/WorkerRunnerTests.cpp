#include "Worker/WorkerProtocol.h"
#include "Worker/WorkerRunner.h"
#include "engine/Engine.h"
#include "fixtures/FailureOf.h"
#include "fixtures/PdfProbe.h"
#include "fixtures/TempFolder.h"

#include <atomic>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace kelvane {
namespace {

using fixtures::TempFolder;
namespace fs = std::filesystem;

// A stand-in worker: a shell script that plays one way a real worker can end after it
// accepted its job.
fs::path fakeWorker(const TempFolder& temp, const std::string& body) {
    const fs::path script = temp.write("worker.sh", "#!/bin/sh\n" + body + "\n");
    ::chmod(script.c_str(), 0755);
    return script;
}

std::string failureOf(const WorkerRunner& runner, Recipe recipe,
                      const std::vector<fs::path>& inputs) {
    return fixtures::failureOf([&] { runner(recipe, inputs, ConversionOptions{}, [](double) {}); });
}

TEST(WorkerRunner, ConvertsInAWorkerProcessWithProgress) {
    TempFolder temp;
    const fs::path input = temp.write("letter.txt", "Dear reader,\nthank you.\n");
    std::atomic<double> lastProgress = 0;
    const auto outputs = WorkerRunner()(Recipe::docToPDF, {input}, ConversionOptions{},
                                        [&](double fraction) { lastProgress = fraction; });

    ASSERT_EQ(outputs.size(), 1u);
    EXPECT_EQ(outputs[0], temp / "letter (converted).pdf");
    const fixtures::PdfProbe pdf(outputs[0]);
    ASSERT_TRUE(pdf.isValid());
    EXPECT_TRUE(pdf.text(0).contains("Dear reader"));
    EXPECT_EQ(lastProgress, 1.0);
}

TEST(WorkerRunner, AToolsFailureArrivesWithTheSameSentenceAsInProcess) {
    TempFolder temp;
    const fs::path broken = temp.write("broken.docx", "not a zip at all");
    const std::string inProcess = fixtures::failureOf(
        [&] { Engine::run(Recipe::docToPDF, {broken}, ConversionOptions{}, [](double) {}); });
    ASSERT_NE(inProcess, "no failure");
    EXPECT_EQ(failureOf(WorkerRunner(), Recipe::docToPDF, {broken}), inProcess);
    EXPECT_EQ(temp.entries(), std::vector<std::string>{"broken.docx"});
}

TEST(WorkerRunner, ACrashFailsTheJobNamingTheFileAndRemovesUnpublishedOutput) {
    TempFolder temp;
    const fs::path first = temp.write("a.mov", "x");
    const fs::path second = temp.write("b.mov", "x");
    // Halfway through the second input, with a temporary output of its own on disk.
    const WorkerRunner runner(fakeWorker(temp, R"(read -r word cpu memory recipe options a b
echo accepted
echo "progress 0.75"
touch "$(dirname "$b")/.kelvane-$$-partial.mp4"
mkdir "$(dirname "$b")/.kelvane-$$-folder"
kill -SEGV $$)"));

    EXPECT_EQ(failureOf(runner, Recipe::toMP4, {first, second}),
              "“b.mov” stopped the converter unexpectedly.");
    EXPECT_EQ(temp.entries(), (std::vector<std::string>{"a.mov", "b.mov", "worker.sh"}));
}

// Ways a worker can end after it accepted its job: without saying done, hung (the watchdog
// stops it) or stopped by its processor-time limit.
TEST(WorkerRunner, AWorkerThatEndsEarlyOrHangsFailsItsJobWithASentence) {
    const std::pair<std::string, const char*> endings[] = {
        {"echo \"output $PWD/x.mp4\"\nexit 0", "“clip.mov” stopped the converter unexpectedly."},
        {"echo 'progress 0.1'\nexec sleep 600",
         "“clip.mov” took too long to convert and was stopped."},
        {"kill -XCPU $$", "“clip.mov” took too long to convert and was stopped."},
    };
    for (const auto& [ending, sentence] : endings) {
        TempFolder temp;
        const fs::path input = temp.write("clip.mov", "x");
        WorkerRunner runner(fakeWorker(temp, "read -r job\necho accepted\n" + ending));
        runner.setLimits({std::chrono::milliseconds(300), 10, 1u << 30});
        EXPECT_EQ(failureOf(runner, Recipe::toMP4, {input}), sentence) << ending;
    }
}

TEST(WorkerRunner, AWorkerStillComputingIsNotTakenForAHungOne) {
    // Busy for one second of wall-clock time against a limit of a quarter of that: a huge
    // image on a loaded machine. The watchdog sees the processor time grow and waits.
    TempFolder temp;
    const fs::path input = temp.write("huge.png", "x");
    const fs::path output = temp.write("huge.jpg", "converted");
    const std::string spin = "end=$(( ${EPOCHREALTIME/./} + 1000000 )); "
                             "while (( ${EPOCHREALTIME/./} < end )); do :; done; ";
    WorkerRunner runner(fakeWorker(temp, "read -r job\necho accepted\nexec bash -c '" + spin +
                                             "echo \"output " + output.string() +
                                             "\"; echo done; read -r next'"));
    runner.setLimits({std::chrono::milliseconds(250), 60, 1u << 30});
    const auto outputs = runner(Recipe::toJPG, {input}, ConversionOptions{}, [](double) {});
    EXPECT_EQ(outputs, std::vector<fs::path>{output});
}

TEST(WorkerRunner, TheWorkerGetsItsLimitsAndAPrivateTemporaryFolder) {
    TempFolder temp;
    const fs::path input = temp.write("clip.mov", "x");
    const fs::path seen = temp / "seen.txt";
    {
        WorkerRunner runner(fakeWorker(temp, "read -r word cpu memory recipe rest\necho accepted\n"
                                             "echo \"$cpu $memory $recipe $TMPDIR\" > '" +
                                                 seen.string() +
                                                 "'\necho \"output $PWD\"\necho done"));
        runner.setLimits({std::chrono::seconds(30), 77, 123456789});
        runner(Recipe::toMP4, {input}, ConversionOptions{}, [](double) {});
    } // the runner and its idle workers are gone

    std::ifstream file(seen);
    std::string cpu, memory, recipe, temporaryFolder;
    file >> cpu >> memory >> recipe >> temporaryFolder;
    EXPECT_EQ(cpu, "77");
    EXPECT_EQ(memory, "123456789");
    EXPECT_EQ(recipe, "toMP4");
    EXPECT_TRUE(fs::path(temporaryFolder).filename().string().starts_with("kelvane-worker-"));
    EXPECT_FALSE(fs::exists(temporaryFolder));
}

TEST(WorkerRunner, AWorkerServesTheNextJobAndOneThatDiedIdleIsReplaced) {
    TempFolder temp;
    const fs::path input = temp.write("clip.mov", "x");
    const fs::path starts = temp / "starts";
    fs::create_directory(starts);
    // Each worker notes its start, then serves jobs until its socket closes.
    const WorkerRunner runner(
        fakeWorker(temp, "touch '" + starts.string() +
                             "/'$$\nwhile read -r job; do\n"
                             "echo accepted; echo \"output $PWD\"; echo done\n"
                             "done"));
    auto started = [&] {
        std::vector<pid_t> pids;
        for (const auto& entry : fs::directory_iterator(starts))
            pids.push_back(std::stoi(entry.path().filename().string()));
        return pids;
    };
    auto convert = [&] {
        runner(Recipe::toMP4, {input}, ConversionOptions{}, [](double) {});
    };

    convert();
    convert();
    ASSERT_EQ(started().size(), 1u);

    ::kill(started().front(), SIGKILL); // dies while it waits for work
    EXPECT_NO_THROW(convert());
    EXPECT_EQ(started().size(), 2u);
}

TEST(WorkerProtocol, JobsPathsAndSentencesSurviveTheirLineWhateverTheirBytes) {
    ConversionOptions options;
    options.quality = 0.33;
    const WorkerProtocol::Job job{
        60, 1u << 30, Recipe::videoHEVC, options, {"/tmp/a b/c\nd.mov", "/tmp/100% ü.mp4"}};
    QByteArray line = WorkerProtocol::jobLine(job);
    ASSERT_EQ(line.count('\n'), 1);
    line.chop(1);
    const auto parsed = WorkerProtocol::parseJob(line);
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->cpuSeconds, 60u);
    EXPECT_EQ(parsed->recipe, Recipe::videoHEVC);
    EXPECT_EQ(parsed->options, options);
    EXPECT_EQ(parsed->inputs, job.inputs);
    EXPECT_FALSE(WorkerProtocol::parseJob("job 1 2 noSuchRecipe {} /x"));

    const fs::path odd = "/tmp/line\nbreak %41 ü\t\"quoted\".mp4";
    QByteArray outputLine = WorkerProtocol::outputLine(odd);
    ASSERT_TRUE(outputLine.endsWith('\n'));
    EXPECT_EQ(outputLine.count('\n'), 1);
    outputLine.chop(1);
    const auto output = WorkerProtocol::parse(outputLine);
    ASSERT_TRUE(output);
    EXPECT_EQ(output->output, odd);

    QByteArray error = WorkerProtocol::errorLine(QStringLiteral("two\nlines"));
    error.chop(1);
    EXPECT_EQ(WorkerProtocol::parse(error)->sentence, QStringLiteral("two lines"));
    EXPECT_FALSE(WorkerProtocol::parse("progress 1.5"));
    EXPECT_FALSE(WorkerProtocol::parse("progress nan"));
    EXPECT_FALSE(WorkerProtocol::parse("Loading plugins…"));
}

} // namespace
} // namespace kelvane
