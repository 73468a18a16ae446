#include "Worker/WorkerRunner.h"
#include "engine/ToolFamilies.h"
#include "fixtures/FailureOf.h"
#include "fixtures/TempFolder.h"

#include <QColor>
#include <QImage>

#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>

namespace kelvane {
namespace {

using fixtures::TempFolder;
namespace fs = std::filesystem;

// One job of a tool family, with a look at its result read back.
struct FamilyJob {
    Recipe recipe;
    fs::path input;
    std::function<void(const fs::path& output)> check;
};

// A quarter of a second of a 440 Hz tone, mono, 16-bit, 8 kHz.
fs::path toneWav(const TempFolder& temp) {
    const fs::path wav = temp / "tone.wav";
    const std::string command = "ffmpeg -nostdin -v error -y -f lavfi -i sine=f=440:r=8000:d=0.25 "
                                "-ac 1 -c:a pcm_s16le '" +
                                wav.string() + "'";
    if (std::system(command.c_str()) != 0)
        throw std::runtime_error("ffmpeg could not make tone.wav");
    return wav;
}

std::vector<FamilyJob> familyJobs(const TempFolder& temp) {
    QImage picture(64, 48, QImage::Format_RGB32);
    picture.fill(QColor(200, 40, 40));
    const fs::path png = temp / "picture.png";
    picture.save(QString::fromStdString(png.string()));
    return {
        {Recipe::toJPG, png,
         [](const fs::path& output) {
             const QImage jpg(QString::fromStdString(output.string()), "JPG");
             EXPECT_EQ(jpg.size(), QSize(64, 48)) << output;
         }},
        {Recipe::toAIFF, toneWav(temp),
         [](const fs::path& output) {
             const std::string aiff = fixtures::readFile(output);
             EXPECT_EQ(aiff.substr(0, 4), "FORM");
             EXPECT_EQ(aiff.substr(8, 4), "AIFF");
             EXPECT_GT(aiff.size(), 4000u); // the 2000 samples, 16 bits each
         }},
        {Recipe::docToHTML, temp.write("letter.txt", "Dear reader"),
         [](const fs::path& output) {
             EXPECT_NE(fixtures::readFile(output).find("Dear reader"), std::string::npos);
         }},
        {Recipe::zip, temp.write("notes/todo.txt", "buy milk").parent_path(),
         [](const fs::path& output) {
             const std::string zip = fixtures::readFile(output);
             EXPECT_EQ(zip.substr(0, 4), std::string("PK\x03\x04", 4));
             EXPECT_NE(zip.find("notes/todo.txt"), std::string::npos);
         }},
    };
}

fs::path convert(const WorkerRunner& runner, const FamilyJob& job) {
    const auto outputs = runner(job.recipe, {job.input}, ConversionOptions{}, [](double) {});
    return outputs.size() == 1 ? outputs[0] : fs::path();
}

std::string failureOf(const WorkerRunner& runner, const FamilyJob& job) {
    return fixtures::failureOf([&] { convert(runner, job); });
}

TEST(ToolFamilies, EveryFamilyWorksInAFreshWorkerAndInOneThatServedOthers) {
    TempFolder temp;
    const auto jobs = familyJobs(temp);
    for (const FamilyJob& job : jobs) {
        SCOPED_TRACE(job.recipe.rawValue());
        job.check(convert(WorkerRunner(), job));
    }
    // One worker serves one family after another, then each again with its tools loaded.
    const WorkerRunner reused;
    for (int round = 0; round < 2; ++round)
        for (const FamilyJob& job : jobs) {
            SCOPED_TRACE(job.recipe.rawValue());
            job.check(convert(reused, job));
        }
}

TEST(ToolFamilies, AMissingModuleFailsItsJobsWithASentenceAndTheOtherFamiliesStillWork) {
    // An installed layout without the media module: bin/kelvane-worker, lib/kelvane/….
    TempFolder temp;
    const fs::path worker = temp.makeFolder("layout/bin") / "kelvane-worker";
    const fs::path modules = temp.makeFolder("layout/lib/kelvane");
    fs::copy_file(WorkerRunner::defaultWorkerPath(), worker);
    using ToolFamilies::Family;
    for (const Family family : {Family::images, Family::documents, Family::archives}) {
        const std::string_view name = ToolFamilies::moduleName(family);
        fs::create_symlink(ToolFamilies::moduleFolder() / name, modules / name);
    }
    const WorkerRunner runner(worker);
    const auto jobs = familyJobs(temp);
    const std::string missing = "Couldn’t load the video and audio tools: “" +
                                (modules / "kelvane-media.so").string() + "” is missing.";

    EXPECT_EQ(failureOf(runner, jobs[1]), missing);
    for (const FamilyJob& job : {jobs[0], jobs[2], jobs[3]}) {
        SCOPED_TRACE(job.recipe.rawValue());
        job.check(convert(runner, job));
    }
    EXPECT_EQ(failureOf(runner, jobs[1]), missing);
}

} // namespace
} // namespace kelvane
