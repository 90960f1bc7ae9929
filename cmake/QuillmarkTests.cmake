include(GoogleTest)
find_package(GTest REQUIRED)
find_package(Threads REQUIRED)

# The distribution's libraries are not instrumented: what they do to memory by themselves is not judged.
set(quillmark_test_environment "TSAN_OPTIONS=ignore_noninstrumented_modules=1")

# What ThreadSanitizer has to see: the programs whose tests bear the label "threaded".
add_custom_target(threaded_tests)

# quillmark_add_test(NAME name SOURCES file... LIBRARIES target... [THREADED])
#
# Builds one GoogleTest program and hands each of its tests to ctest. Their label is "unit", or "threaded"
# with THREADED: these run under ThreadSanitizer too.
function(quillmark_add_test)
    cmake_parse_arguments(ARG "THREADED" "NAME" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${ARG_NAME} ${ARG_SOURCES})
    target_link_libraries(${ARG_NAME} PRIVATE ${ARG_LIBRARIES} GTest::gmock_main Threads::Threads Quillmark::Flags)
    set(label "unit")
    if(ARG_THREADED)
        set(label "threaded")
        add_dependencies(threaded_tests ${ARG_NAME})
    endif()
    gtest_discover_tests(${ARG_NAME}
        DISCOVERY_TIMEOUT 60
        PROPERTIES LABELS ${label} TIMEOUT 120 ENVIRONMENT "${quillmark_test_environment}")
endfunction()
