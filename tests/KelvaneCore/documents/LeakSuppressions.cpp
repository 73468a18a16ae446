// Metafile drawings set their text through Pango, which keeps fontconfig's patterns for every
// font size it was asked for until the process ends; LeakSanitizer reads the hook below from
// the test executable.
extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n";
}
