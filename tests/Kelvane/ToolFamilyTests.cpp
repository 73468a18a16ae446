#include "Worker/WorkerRunner.h"
#include "engine/ToolFamilies.h"
#include "fixtures/TempFolder.h"
#include "naming/ConversionError.h"

#include <QColor>
#include <QImage>

#include <cmath>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <numbers>

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

void appendLittleEndian(std::string& bytes, std::uint32_t value, int size) {
    for (int byte = 0; byte < size; ++byte)
        bytes.push_back(static_cast<char>((value >> (8 * byte)) & 0xff));
}

// A quarter of a second of a 440 Hz tone, mono, 16-bit, 8 kHz.
std::string toneWav() {
    constexpr std::uint32_t rate = 8000, samples = 2000;
    std::string data;
    for (std::uint32_t index = 0; index < samples; ++index)
        appendLittleEndian(data,
                           static_cast<std::uint16_t>(static_cast<std::int16_t>(
                               8000 * std::sin(2 * std::numbers::pi * 440 * index / rate))),
                           2);
    std::string wav = "RIFF";
    appendLittleEndian(wav, static_cast<std::uint32_t>(36 + data.size()), 4);
    wav += "WAVEfmt ";
    for (const auto& [value, size] :
         {std::pair{16u, 4}, {1u, 2}, {1u, 2}, {rate, 4}, {rate * 2, 4}, {2u, 2}, {16u, 2}})
        appendLittleEndian(wav, value, size);
    wav += "data";
    appendLittleEndian(wav, static_cast<std::uint32_t>(data.size()), 4);
    return wav + data;
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
        {Recipe::toAIFF, temp.write("tone.wav", toneWav()),
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
    try {
        convert(runner, job);
    } catch (const ConversionError& error) {
        return error.message();
    }
    return "(no failure)";
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
