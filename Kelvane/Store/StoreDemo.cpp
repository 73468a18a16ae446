#include "Store/Store.h"

namespace kelvane {
namespace {

using State = Job::State;

// Demonstration files live in a folder nobody reads from: only their names are shown.
std::filesystem::path demoFile(const char* name) {
    return std::filesystem::path("/home/demo/Desktop") / name;
}

struct DemoJob {
    Recipe::Value recipe;
    std::vector<const char*> inputs;
    State state;
    double progress;
    std::int64_t inputBytes;
    std::int64_t outputBytes;
    const char* output; // or the failure sentence of a failed job
};

const std::vector<DemoJob>& demoJobs(RecipeGroup group) {
    static const std::vector<DemoJob> video = {
        {Recipe::videoToGIF, {"Product demo.mov"}, State::running, 0.42, 84200000, 0, nullptr},
        {Recipe::video720,
         {"Team call recording.mp4"},
         State::running,
         0.71,
         612000000,
         0,
         nullptr},
        {Recipe::toMP4,
         {"Screen Recording 2026-10-12.mov"},
         State::done,
         1.0,
         148000000,
         147100000,
         "Screen Recording 2026-10-12 (converted).mp4"},
        {Recipe::extractAudio,
         {"Interview take 3.mov"},
         State::done,
         1.0,
         402000000,
         9800000,
         "Interview take 3 (converted).m4a"},
        {Recipe::videoHEVC, {"Drone flyover.mp4"}, State::queued, 0, 1240000000, 0, nullptr},
    };
    static const std::vector<DemoJob> documents = {
        {Recipe::docToPDF,
         {"Proposal draft.docx"},
         State::done,
         1.0,
         48300,
         212000,
         "Proposal draft (converted).pdf"},
        {Recipe::docToDOCX,
         {"Meeting notes.rtf"},
         State::done,
         1.0,
         21000,
         9400,
         "Meeting notes (converted).docx"},
        {Recipe::pdfToPNG, {"Invoice 0142.pdf"}, State::running, 0.5, 340000, 0, nullptr},
        {Recipe::docToTXT,
         {"Archive.webarchive"},
         State::failed,
         1.0,
         0,
         0,
         "Convert to Plain Text needs documents."},
    };
    static const std::vector<DemoJob> images = {
        {Recipe::toJPG, {"IMG_4021.HEIC"}, State::running, 0.64, 3400000, 0, nullptr},
        {Recipe::shrink,
         {"Hero banner.png"},
         State::done,
         1.0,
         6820000,
         984000,
         "Hero banner (shrunk).jpg"},
        {Recipe::toJPG,
         {"IMG_4019.HEIC"},
         State::done,
         1.0,
         2910000,
         1730000,
         "IMG_4019 (converted).jpg"},
        {Recipe::stripMetadata,
         {"Beach day.jpg"},
         State::done,
         1.0,
         4480000,
         4120000,
         "Beach day (clean).jpg"},
        {Recipe::imagesToPDF,
         {"Scan 1.png", "Scan 2.png", "Scan 3.png", "Scan 4.png"},
         State::done,
         1.0,
         9800000,
         2100000,
         "Images.pdf"},
        {Recipe::toPNG, {"diagram.webp"}, State::queued, 0, 220000, 0, nullptr},
    };
    if (group == RecipeGroup::video)
        return video;
    if (group == RecipeGroup::documents)
        return documents;
    return images;
}

Job jobFrom(const DemoJob& demo) {
    Job job(demo.recipe, {});
    for (const char* input : demo.inputs)
        job.inputs.push_back(demoFile(input));
    job.state = demo.state;
    job.progress = demo.progress;
    job.inputBytes = demo.inputBytes;
    job.outputBytes = demo.outputBytes;
    if (demo.state == State::failed)
        job.message = QString::fromUtf8(demo.output);
    else if (demo.output != nullptr)
        job.outputs = {demoFile(demo.output)};
    return job;
}

} // namespace

void Store::seedDemo(RecipeGroup group) {
    jobs_.clear();
    for (const DemoJob& demo : demoJobs(group))
        jobs_.push_back(jobFrom(demo));
    emit jobsChanged();
}

void Store::clearAll() {
    if (jobs_.empty())
        return;
    jobs_.clear();
    emit jobsChanged();
}

} // namespace kelvane
