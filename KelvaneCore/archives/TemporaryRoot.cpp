#include "archives/TemporaryRoot.h"

#include <QUuid>

namespace kelvane {

namespace fs = std::filesystem;

TemporaryRoot::TemporaryRoot() {
    const QString uuid = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    path_ = fs::temp_directory_path() / ("kelvane-" + uuid.toStdString());
    fs::create_directories(path_);
}

TemporaryRoot::~TemporaryRoot() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

} // namespace kelvane
