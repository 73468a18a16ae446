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
