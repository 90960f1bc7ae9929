# Builds for 64-bit Windows with the distribution's mingw-w64 compilers.
#
# What the distribution has no packages of, libcrypto and Qt, is made by tools/setup-windows, which leaves links to
# it in build/windows-tools; so are the wine prefixes that the programs run in.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

# "posix" is the flavour whose standard library has threads.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

get_filename_component(QUILLMARK_WINDOWS_TOOLS "${CMAKE_CURRENT_LIST_DIR}/../../build/windows-tools" ABSOLUTE)
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/emulator")

# The compiler's runtime goes into each program, so that none needs DLLs of the compiler's.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")

set(OPENSSL_ROOT_DIR "${QUILLMARK_WINDOWS_TOOLS}/openssl")
set(OPENSSL_USE_STATIC_LIBS ON)
set(QT_HOST_PATH /usr CACHE PATH "The machine's own Qt, for its moc")
set(QT_HOST_PATH_CMAKE_DIR /usr/lib/x86_64-linux-gnu/cmake CACHE PATH "")

set(CMAKE_FIND_ROOT_PATH
    /usr/x86_64-w64-mingw32
    "${QUILLMARK_WINDOWS_TOOLS}/openssl"
    "${QUILLMARK_WINDOWS_TOOLS}/qt-static"
    "${QUILLMARK_WINDOWS_TOOLS}/headers"
    "${QUILLMARK_WINDOWS_TOOLS}/httplib")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
