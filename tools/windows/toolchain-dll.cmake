# As toolchain.cmake, with the shared Qt: for the library as a DLL.
include("${CMAKE_CURRENT_LIST_DIR}/toolchain.cmake")
list(TRANSFORM CMAKE_FIND_ROOT_PATH REPLACE "/qt-static$" "/qt-shared")
