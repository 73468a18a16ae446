// Writes the fuzzers' starting corpora from the same builders the tests use, so every seed
// is a document our readers accept. Run once and commit the output (kept small):
//   KelvaneFuzzSeeds tests/fuzz/corpus
#include "archives/ArchiveTools.h"
#include "documents/DocumentFormats.h"
#include "documents/ZipContainer.h"
#include "fixtures/StyledDocument.h"
#include "fuzz/XmlParts.h"
#include "options/ConversionOptions.h"

#include <QGuiApplication>
#include <QTextCursor>
#include <QTextDocument>

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace {

using namespace kelvane;
namespace fs = std::filesystem;

void save(const fs::path& folder, const std::string& name, const QByteArray& bytes) {
    fs::create_directories(folder);
    std::ofstream(folder / name, std::ios::binary)
        .write(bytes.constData(), static_cast<std::streamsize>(bytes.size()));
}

std::unique_ptr<QTextDocument> plainDocument() {
    auto document = std::make_unique<QTextDocument>();
    QTextCursor(document.get()).insertText("Dear reader,\nThank you.");
    return document;
}

// The XML parts of a package we wrote, joined the way the XML-level fuzzers split them.
QByteArray xmlParts(const fs::path& package, std::initializer_list<const char*> names) {
    const ZipContainer zip = ZipContainer::open(package);
    QList<QByteArray> parts;
    for (const char* name : names)
        parts.append(zip.part(name).value_or(QByteArray()));
    return fuzz::joinParts(parts);
}

void writeXmlSeeds(const fs::path& corpus) {
    for (const char* name : {"styled", "plain"}) {
        const std::string base = name;
        save(corpus / "docx-xml", base + ".xml",
             xmlParts(corpus / "docx" / (base + ".docx"),
                      {"word/document.xml", "word/styles.xml", "word/numbering.xml"}));
        save(corpus / "odt-xml", base + ".xml",
             xmlParts(corpus / "odt" / (base + ".odt"), {"content.xml", "styles.xml"}));
    }
}

void writeDocumentSeeds(const fs::path& corpus) {
    const auto styled = fixtures::styledDocument();
    const auto plain = plainDocument();
    save(corpus / "docx", "styled.docx", DocumentFormats::writeDocx(*styled));
    save(corpus / "docx", "plain.docx", DocumentFormats::writeDocx(*plain));
    save(corpus / "odt", "styled.odt", DocumentFormats::writeOdt(*styled));
    save(corpus / "odt", "plain.odt", DocumentFormats::writeOdt(*plain));
    save(corpus / "rtf", "styled.rtf", DocumentFormats::writeRtf(*styled));
    save(corpus / "rtf", "plain.rtf", DocumentFormats::writeRtf(*plain));
}

// Archives our own zip makes of a small tree: a folder, a nested empty one, a link.
void writeZipSeeds(const fs::path& corpus) {
    const fs::path tree = fs::temp_directory_path() / "kelvane-seed-tree";
    fs::remove_all(tree);
    fs::create_directories(tree / "Photos" / "empty");
    std::ofstream(tree / "Photos" / "notes.txt") << "Dear reader,\nthank you.\n";
    fs::create_symlink("notes.txt", tree / "Photos" / "link");
    std::ofstream(tree / "single.txt") << "one file";
    for (const fs::path& item : {tree / "Photos", tree / "single.txt"}) {
        const fs::path zip = ArchiveTools::zip({item}, [](double) {});
        fs::create_directories(corpus / "zip");
        fs::copy_file(zip, corpus / "zip" / zip.filename(), fs::copy_options::overwrite_existing);
    }
    fs::remove_all(tree);
}

void writeOptionsSeeds(const fs::path& corpus) {
    ConversionOptions changed;
    changed.quality = 0.42;
    changed.limitDimension = true;
    changed.gifFPS = 30;
    changed.pdfPageSize = PageSize::a4;
    save(corpus / "options", "defaults.json", ConversionOptions{}.toJSON());
    save(corpus / "options", "changed.json", changed.toJSON());
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <corpus folder>\n", argv[0]);
        return 2;
    }
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QGuiApplication application(argc, argv);
    writeDocumentSeeds(argv[1]);
    writeXmlSeeds(argv[1]);
    writeOptionsSeeds(argv[1]);
    writeZipSeeds(argv[1]);
    return 0;
}
