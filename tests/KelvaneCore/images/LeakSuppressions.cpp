// The x265 encoder behind HEIC output keeps a few small buffers of its own until the process
// ends; LeakSanitizer reads the hook below from the test executable.
extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
    return "leak:libx265.so\n";
}
