# The shared libraries that hosts take: their names, versions and, on Windows, what the system shows of them.

# quillmark_name_product(TARGET NAME DESCRIPTION)
function(quillmark_name_product target name description)
    set_target_properties(${target} PROPERTIES
        LINKER_LANGUAGE CXX
        OUTPUT_NAME ${name}
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR})
    if(WIN32)
        # quillmarkcore.dll, as Windows names libraries; beside it the import library, libquillmarkcore.dll.a.
        set_target_properties(${target} PROPERTIES PREFIX "")
        set(resource "${CMAKE_CURRENT_BINARY_DIR}/${name}.rc")
        configure_file("${PROJECT_SOURCE_DIR}/cmake/Product.rc.in" "${resource}" @ONLY)
        target_sources(${target} PRIVATE "${resource}")
    endif()
endfunction()
