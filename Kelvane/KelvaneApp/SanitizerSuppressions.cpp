// Built into the window and its tests only under the sanitizers. At exit Qt Quick leaves
// its scene graph's glyph textures and their images behind (objects that only point at one
// another, reported as indirect leaks), and libdbus keeps its session connection's buffer
// for the life of the process; LeakSanitizer reads this hook to pass over them.
extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
    return "leak:QSGTexture::QSGTexture\n"
           "leak:QImageData::create\n"
           "leak:QPixmap::fromImage\n"
           "leak:QtSharedPointer::ExternalRefCountData::getAndRef\n"
           "leak:libQt6Quick.so\n"
           "leak:libdbus-1.so\n";
}
