include(GoogleTest)
if(CMAKE_CROSSCOMPILING)
    # The distribution has GoogleTest as a library for this machine only, and its source for all others.
    set(INSTALL_GTEST OFF)
    add_subdirectory(/usr/src/googletest "${PROJECT_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL SYSTEM)
else()
    find_package(GTest REQUIRED)
endif()
find_package(Threads REQUIRED)

# The distribution's libraries are not instrumented: what they do to memory by themselves is not judged.
set(quillmark_test_environment "TSAN_OPTIONS=ignore_noninstrumented_modules=1")

# What ThreadSanitizer has to see: the programs whose tests bear the label "threaded".
add_custom_target(threaded_tests)

# Stands in the list of tests for a program that this build's system can't run, so that it counts as skipped.
function(quillmark_leave_out name reason)
    add_test(NAME ${name} COMMAND sh -c "echo 'needs Linux: ${reason}'; exit 77")
    set_tests_properties(${name} PROPERTIES SKIP_RETURN_CODE 77)
endfunction()

# quillmark_add_test(NAME name SOURCES file... LIBRARIES target... [THREADED] [NEEDS_LINUX reason])
#
# Builds one GoogleTest program and hands each of its tests to ctest. Their label is "unit", or "threaded"
# with THREADED: these run under ThreadSanitizer too. With NEEDS_LINUX it is left out elsewhere. A folder may give its tests one variable of the environment, by
# quillmark_test_variable in the form NAME=set:VALUE. It has a property of its own, since of a list
# gtest_discover_tests hands on the first entry only.
function(quillmark_add_test)
    cmake_parse_arguments(ARG "THREADED" "NAME;NEEDS_LINUX" "SOURCES;LIBRARIES" ${ARGN})
    if(WIN32 AND ARG_NEEDS_LINUX)
        quillmark_leave_out(${ARG_NAME} "${ARG_NEEDS_LINUX}")
        return()
    endif()
    add_executable(${ARG_NAME} ${ARG_SOURCES})
    target_link_libraries(${ARG_NAME} PRIVATE
        ${ARG_LIBRARIES} quillmark_test_system GTest::gmock_main Threads::Threads Quillmark::Flags)
    set(label "unit")
    if(ARG_THREADED)
        set(label "threaded")
        add_dependencies(threaded_tests ${ARG_NAME})
    endif()
    set(variable)
    if(quillmark_test_variable)
        set(variable ENVIRONMENT_MODIFICATION "${quillmark_test_variable}")
    endif()
    gtest_discover_tests(${ARG_NAME}
        DISCOVERY_TIMEOUT 60
        PROPERTIES LABELS ${label} TIMEOUT 120 ENVIRONMENT "${quillmark_test_environment}" ${variable})
endfunction()
