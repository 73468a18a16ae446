#pragma once

#include "documents/ZipContainer.h"

#include <QString>
#include <QTextDocument>

#include <map>
#include <string>

namespace kelvane {

// A document read from a DOCX or ODT package. Its PNG and JPEG pictures stay in the package:
// the document keeps only the part each picture's resource names and inflates that part
// whenever the picture is asked for, so a document of many photos never holds their bytes.
class PackageDocument : public QTextDocument {
public:
    explicit PackageDocument(ZipContainer package);

    const ZipContainer& package() const { return package_; }
    // From now on the image resource `name` is the part `partName` of the package.
    void addPicture(const QString& name, std::string partName);

protected:
    // A picture's bytes as the package holds them now; nothing when the file was changed or
    // removed since, or its entry is damaged. Nothing is kept once handed out.
    QVariant loadResource(int type, const QUrl& name) override;

private:
    ZipContainer package_;
    std::map<QString, std::string, std::less<>> pictures_;
};

} // namespace kelvane
