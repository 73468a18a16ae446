#include "MainViews/Symbols.h"

#include <QFontDatabase>
#include <QStringList>

#include <algorithm>
#include <iterator>

namespace kelvane::Symbols {
namespace {

struct Entry {
    std::string_view name;
    char16_t glyph; // code point in the Material Icons font
};

// Symbol names as the catalogue and the views use them, sorted by name.
constexpr Entry table[] = {
    {"archivebox", u'\ue149'},                              // archive
    {"archivebox.circle", u'\ue169'},                       // unarchive
    {"arrow.down.circle.fill", u'\uf181'},                  // arrow_circle_down
    {"arrow.down.doc", u'\ue2c4'},                          // file_download
    {"arrow.down.doc.fill", u'\ue2c4'},                     // file_download
    {"arrow.down.right.and.arrow.up.left", u'\uf1cf'},      // close_fullscreen
    {"arrow.up.forward.app", u'\ue89e'},                    // open_in_new
    {"checkmark.circle.badge.xmark", u'\ue16c'},            // delete_sweep
    {"checkmark.circle.fill", u'\ue86c'},                   // check_circle
    {"chevron.left.forwardslash.chevron.right", u'\ue86f'}, // code
    {"clock", u'\ue8b5'},                                   // schedule
    {"doc", u'\ue24d'},                                     // insert_drive_file
    {"doc.on.doc", u'\ue173'},                              // file_copy
    {"doc.richtext", u'\ue873'},                            // description
    {"doc.text", u'\ue26c'},                                // notes
    {"doc.viewfinder", u'\ue880'},                          // find_in_page
    {"exclamationmark.triangle.fill", u'\ue002'},           // warning
    {"eye.slash", u'\ue8f5'},                               // visibility_off
    {"film", u'\ue02c'},                                    // movie
    {"film.stack", u'\ue04a'},                              // video_library
    {"folder", u'\ue2c7'},                                  // folder
    {"gearshape", u'\ue8b8'},                               // settings
    {"livephoto", u'\ue9c1'},                               // motion_photos_on
    {"lock.shield", u'\ue32a'},                             // security
    {"magnifyingglass", u'\ue8b6'},                         // search
    {"music.note", u'\ue405'},                              // music_note
    {"photo", u'\ue410'},                                   // photo
    {"photo.on.rectangle.angled", u'\ue413'},               // photo_library
    {"photo.stack", u'\ue43c'},                             // burst_mode
    {"plus", u'\ue145'},                                    // add
    {"rectangle.compress.vertical", u'\ue94d'},             // compress
    {"scalemass", u'\uf039'},                               // monitor_weight
    {"sidebar.right", u'\ue949'},                           // vertical_split
    {"slider.horizontal.3", u'\ue429'},                     // tune
    {"sparkles", u'\ue65f'},                                // auto_awesome
    {"sparkles.tv", u'\ue663'},                             // auto_fix_high
    {"stop.circle", u'\ue047'},                             // stop
    {"text.alignleft", u'\ue8d2'},                          // subject
    {"tortoise", u'\ue9e4'},                                // speed
    {"wand.and.stars", u'\ue663'},                          // auto_fix_high
    {"waveform", u'\ue1b8'},                                // graphic_eq
    {"waveform.badge.plus", u'\uea75'},                     // video_settings
};

static_assert(std::is_sorted(std::begin(table), std::end(table),
                             [](const Entry& a, const Entry& b) { return a.name < b.name; }));

const Entry* find(std::string_view name) {
    const auto found =
        std::lower_bound(std::begin(table), std::end(table), name,
                         [](const Entry& entry, std::string_view key) { return entry.name < key; });
    return found != std::end(table) && found->name == name ? found : nullptr;
}

} // namespace

QString glyph(std::string_view name) {
    const Entry* entry = find(name);
    return QString(QChar(entry != nullptr ? entry->glyph : u'\ue24d'));
}

bool isKnown(std::string_view name) {
    return find(name) != nullptr;
}

QStringList names() {
    QStringList all;
    for (const Entry& entry : table)
        all << QString::fromUtf8(entry.name.data(), static_cast<qsizetype>(entry.name.size()));
    return all;
}

QString fontFamily() {
    static const QString family = [] {
        const int id = QFontDatabase::addApplicationFont(QStringLiteral(KELVANE_ICON_FONT));
        const QStringList families = QFontDatabase::applicationFontFamilies(id);
        return families.isEmpty() ? QString() : families.front();
    }();
    return family;
}

} // namespace kelvane::Symbols
