#include "ArchiveFixtures.h"

#include "fixtures/TempFolder.h"

#include <QJsonDocument>
#include <QProcess>

#include <archive.h>
#include <archive_entry.h>
#include <memory>
#include <stdexcept>

namespace kelvane::fixtures {

namespace fs = std::filesystem;

CommandRun runCommand(const std::string& program, const std::vector<std::string>& arguments) {
    QStringList list;
    for (const std::string& argument : arguments)
        list << QString::fromStdString(argument);
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QString::fromStdString(program), list);
    process.closeWriteChannel();
    process.waitForFinished(600'000);
    const int status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return {status, process.readAll().toStdString()};
}

CommandRun runPython(const std::string& script, const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {"-c", script};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return runCommand("/usr/bin/python3", all); // Debian's own, not a per-user shim
}

QJsonArray zipEntries(const fs::path& zip) {
    static const std::string script = R"(
import json, sys, zipfile, time, calendar
out = []
with zipfile.ZipFile(sys.argv[1]) as z:
    for i in z.infolist():
        mode = i.external_attr >> 16
        entry = {"name": i.filename, "utf8": bool(i.flag_bits & 0x800), "mode": mode,
                 "method": i.compress_type, "size": i.file_size,
                 "mtime": time.mktime(i.date_time + (0, 0, -1))}
        if (mode & 0o170000) == 0o120000:
            entry["link"] = z.read(i).decode()
        out.append(entry)
print(json.dumps(out))
)";
    const CommandRun run = runPython(script, {zip.string()});
    if (run.status != 0)
        return {};
    return QJsonDocument::fromJson(QByteArray::fromStdString(run.output)).array();
}

std::vector<std::string> treeOf(const fs::path& folder) {
    std::vector<std::string> paths;
    for (auto it = fs::recursive_directory_iterator(folder);
         it != fs::recursive_directory_iterator(); ++it) {
        std::string relative = it->path().lexically_relative(folder).generic_string();
        if (it->is_directory() && !it->is_symlink())
            relative += "/";
        paths.push_back(relative);
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

void writeZip(const fs::path& zip, const std::vector<EntrySpec>& entries,
              const std::string& passphrase) {
    std::unique_ptr<archive, decltype(&archive_write_free)> writer(archive_write_new(),
                                                                   archive_write_free);
    archive* a = writer.get();
    archive_write_set_format_zip(a);
    archive_write_set_options(a, "zip:hdrcharset=UTF-8");
    if (!passphrase.empty()) {
        archive_write_set_passphrase(a, passphrase.c_str());
        archive_write_set_options(a, "zip:encryption=zipcrypt");
    }
    if (archive_write_open_filename(a, zip.c_str()) != ARCHIVE_OK)
        throw std::runtime_error(archive_error_string(a));
    for (const EntrySpec& wanted : entries) {
        std::unique_ptr<archive_entry, decltype(&archive_entry_free)> entry(archive_entry_new(),
                                                                            archive_entry_free);
        archive_entry* e = entry.get();
        archive_entry_set_pathname_utf8(e, wanted.name.c_str());
        archive_entry_set_mtime(e, 1'700'000'000, 0);
        switch (wanted.type) {
        case EntrySpec::Type::file:
            archive_entry_set_filetype(e, AE_IFREG);
            archive_entry_set_perm(e, 0644);
            archive_entry_set_size(e, static_cast<la_int64_t>(wanted.contents.size()));
            break;
        case EntrySpec::Type::folder:
            archive_entry_set_filetype(e, AE_IFDIR);
            archive_entry_set_perm(e, 0755);
            break;
        }
        if (archive_write_header(a, e) < ARCHIVE_WARN)
            throw std::runtime_error(archive_error_string(a));
        if (wanted.type == EntrySpec::Type::file)
            archive_write_data(a, wanted.contents.data(), wanted.contents.size());
    }
    if (archive_write_close(a) != ARCHIVE_OK)
        throw std::runtime_error(archive_error_string(a));
}

} // namespace kelvane::fixtures
