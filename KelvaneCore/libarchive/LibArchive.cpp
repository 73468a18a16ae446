#include "libarchive/LibArchive.h"

#include <QByteArray>

#include <cstring>
#include <langinfo.h>

namespace kelvane::LibArchive {

std::string errorText(archive* a) {
    const char* reason = a != nullptr ? archive_error_string(a) : nullptr;
    return reason != nullptr ? QByteArray(reason).trimmed().toStdString() : std::string();
}

const char* pathname(archive_entry* entry) {
    const char* name = archive_entry_pathname_utf8(entry);
    return name != nullptr ? name : archive_entry_pathname(entry);
}

Utf8Names::Utf8Names() {
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0)
        return;
    own_ = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(nullptr));
    if (own_ != nullptr)
        previous_ = uselocale(own_);
}

Utf8Names::~Utf8Names() {
    if (own_ == nullptr)
        return;
    uselocale(previous_);
    freelocale(own_);
}

} // namespace kelvane::LibArchive
