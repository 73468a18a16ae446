# Warnings and sanitizers shared by every Kelvane target.
add_library(kelvane_compiler_flags INTERFACE)

target_compile_options(kelvane_compiler_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
    -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual -Wimplicit-fallthrough)

if(KELVANE_WERROR)
    target_compile_options(kelvane_compiler_flags INTERFACE -Werror)
endif()

if(KELVANE_SANITIZE)
    set(_kelvane_sanitizers -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    target_compile_options(kelvane_compiler_flags INTERFACE ${_kelvane_sanitizers})
    target_link_options(kelvane_compiler_flags INTERFACE ${_kelvane_sanitizers})
endif()

# Coverage instrumentation for libFuzzer on every Kelvane target; the fuzz targets add the
# fuzzer's own main when they link.
if(KELVANE_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "KELVANE_FUZZ needs clang (configure with CXX=clang++)")
    endif()
    target_compile_options(kelvane_compiler_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

# Qt's and the standard library's headers parsed once per target instead of once per file:
# most of a clean build's time otherwise goes into parsing them again and again.
option(KELVANE_PRECOMPILE_HEADERS "Precompile the common Qt and standard headers" ON)
function(kelvane_precompile_headers target)
    if(KELVANE_PRECOMPILE_HEADERS)
        target_precompile_headers(${target} PRIVATE
            <QByteArray> <QList> <QObject> <QString>
            <filesystem> <functional> <memory> <optional> <string> <vector> ${ARGN})
    endif()
endfunction()
