# The flags that every target of the project is built with. A target takes them by linking
# Quillmark::Flags privately; hosts never see them.
add_library(quillmark_flags INTERFACE)
add_library(Quillmark::Flags ALIAS quillmark_flags)

# A warning is an error for us, not for a host who builds the library with a compiler that we have not seen.
target_compile_options(quillmark_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow $<$<BOOL:${PROJECT_IS_TOP_LEVEL}>:-Werror>)
# GCC 12 warns of overlaps inside its own std::string that cannot be (GCC bug 105329), in optimised builds alone.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(quillmark_flags INTERFACE -Wno-restrict)
endif()
# Every file is found from the root of the repository: "core/src/json/Json.h".
target_include_directories(quillmark_flags INTERFACE "${PROJECT_SOURCE_DIR}")

if(QUILLMARK_SANITIZE STREQUAL "address")
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
elseif(QUILLMARK_SANITIZE STREQUAL "thread")
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
elseif(NOT QUILLMARK_SANITIZE STREQUAL "")
    message(FATAL_ERROR "QUILLMARK_SANITIZE is \"${QUILLMARK_SANITIZE}\"; use address, thread or nothing")
endif()
