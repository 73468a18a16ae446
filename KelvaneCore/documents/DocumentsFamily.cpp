// The document family's module: the readers and writers around QTextDocument, with the
// Qt Gui they need for fonts and layout.
#include "documents/DocumentTools.h"
#include "engine/ToolFamily.h"

#include <QGuiApplication>

#include <cstdlib>
#include <memory>

namespace kelvane {
namespace {

using std::filesystem::path;

// The offscreen platform needs no display.
QCoreApplication* startApplication(int& argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    return new QGuiApplication(argc, argv);
}

// A worker process has no application until its first document job, which makes one on
// the thread that runs its jobs, and keeps it.
void ensureApplication() {
    if (QCoreApplication::instance() != nullptr)
        return;
    static int argc = 1;
    static char name[] = "kelvane-worker";
    static char* argv[] = {name, nullptr};
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    static const std::unique_ptr<QCoreApplication> application(startApplication(argc, argv));
}

path convertOne(const path& input, Recipe recipe, const ConversionOptions& options,
                const Engine::Progress&) {
    ensureApplication();
    return DocumentTools::convert(input, recipe, options);
}

const ToolFamily documentTools{convertOne, nullptr, startApplication};

} // namespace
} // namespace kelvane

KELVANE_TOOL_FAMILY(kelvane::documentTools)
