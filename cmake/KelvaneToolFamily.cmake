# Each tool family is a static library, which the tests link directly, and a module of the
# same code that the engine loads on the first job that needs it (engine/ToolFamilies.h),
# so that no process maps a family's libraries before it has a job for them.
add_custom_target(kelvane_tool_families)
set(KELVANE_TOOL_FAMILY_EXPORTS ${CMAKE_CURRENT_LIST_DIR}/KelvaneToolFamily.map)

# kelvane_add_tool_family(images KelvaneImages images/ImagesFamily.cpp) builds
# lib/kelvane/kelvane-images.so in the build tree (and installs it to the same place under
# the prefix): the engine looks for it relative to the running executable.
function(kelvane_add_tool_family name library entry)
    set(module kelvane-${name})
    add_library(${module} MODULE ${entry})
    target_link_libraries(${module} PRIVATE ${library} kelvane_compiler_flags)
    # Only the entry point is exported: the module's own calls are bound when it is linked,
    # not looked up by name when it is loaded.
    target_link_options(${module} PRIVATE -Wl,--version-script=${KELVANE_TOOL_FAMILY_EXPORTS})
    set_property(TARGET ${module} APPEND PROPERTY LINK_DEPENDS ${KELVANE_TOOL_FAMILY_EXPORTS})
    set_target_properties(${module} PROPERTIES
        PREFIX ""
        AUTOMOC OFF
        LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib/kelvane)
    install(TARGETS ${module} LIBRARY DESTINATION lib/kelvane)
    add_dependencies(kelvane_tool_families ${module})
endfunction()
