# Shared CMake helpers: test registration with an isolated environment, resource linking.

# Every test gets its own settings and data folders under the build tree, so no test ever reads or
# writes a user's real settings, and GUI tests run without a display.
set(LUMIVUE_TEST_ROOT "${CMAKE_BINARY_DIR}/test-env")
file(MAKE_DIRECTORY "${LUMIVUE_TEST_ROOT}/runtime")
file(CHMOD "${LUMIVUE_TEST_ROOT}/runtime" DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)

function(lumivue_test_environment test_name)
    set(home "${LUMIVUE_TEST_ROOT}/${test_name}")
    file(MAKE_DIRECTORY "${home}/config" "${home}/data" "${home}/cache")
    set_property(TEST ${test_name} APPEND PROPERTY ENVIRONMENT
        "QT_QPA_PLATFORM=offscreen"
        "XDG_RUNTIME_DIR=${LUMIVUE_TEST_ROOT}/runtime"
        "XDG_CONFIG_HOME=${home}/config"
        "XDG_DATA_HOME=${home}/data"
        "XDG_CACHE_HOME=${home}/cache"
        "LUMIVUE_TEST_HOME=${home}"
        "LUMIVUE_SOURCE_DIR=${CMAKE_SOURCE_DIR}"
        "ASAN_OPTIONS=detect_leaks=1:abort_on_error=0"
        "UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1"
        # use_tls=0: GCC 12's LeakSanitizer sometimes crashes at exit ("Tracer caught signal 11") on a
        # dynamic-TLS block whose bounds are garbage, in any binary that loads Aravis and Qt. Without TLS
        # scanning, blocks that libraries hold only through thread-local storage show as leaks: those are
        # suppressed by name in lsan.supp; the change can only add reports, never hide one of ours.
        "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/lsan.supp:use_tls=0"
        "TSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/tsan.supp:halt_on_error=1")
    if(LUMIVUE_TSAN)
        # ThreadSanitizer cannot see the joins of OpenCV's TBB pool and would report every image a pool worker
        # read before its buffer was reused; under TSan the kernels run on the calling thread.
        set_property(TEST ${test_name} APPEND PROPERTY ENVIRONMENT "ORNA_IPL_KERNEL_THREADS=1")
    endif()
endfunction()

# GigE tests start Aravis' fake camera on the namespace's loopback addresses and discover by broadcast: two
# of them at once would see each other's cameras and fight over the GVCP port, so they never run together.
function(lumivue_serialise_gige test_name labels)
    if("gige" IN_LIST labels)
        set_tests_properties(${test_name} PROPERTIES RESOURCE_LOCK gige_loopback)
    endif()
endfunction()

# Links the compiled Qt resources (icons, fonts, sounds) when the resources target exists.
function(lumivue_link_resources target)
    if(TARGET lumivue_resources)
        target_link_libraries(${target} PRIVATE lumivue_resources)
    endif()
endfunction()

# lumivue_add_gtest(NAME SOURCES ... [LIBS ...] [LABELS ...] [TIMEOUT s])
# A GoogleTest binary registered as one ctest test. Label "unit" unless given.
function(lumivue_add_gtest name)
    cmake_parse_arguments(A "" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
    add_executable(${name} ${A_SOURCES})
    target_link_libraries(${name} PRIVATE ${A_LIBS} GTest::gtest GTest::gmock GTest::gtest_main Threads::Threads)
    add_test(NAME ${name} COMMAND ${name})
    if(NOT A_LABELS)
        set(A_LABELS unit)
    endif()
    if(NOT A_TIMEOUT)
        set(A_TIMEOUT 300)
    endif()
    set_tests_properties(${name} PROPERTIES LABELS "${A_LABELS}" TIMEOUT ${A_TIMEOUT})
    lumivue_serialise_gige(${name} "${A_LABELS}")
    lumivue_test_environment(${name})
endfunction()

# lumivue_add_qtest(NAME SOURCES ... [LIBS ...] [LABELS ...] [TIMEOUT s])
# A QtTest binary linked against the application library and its resources. Label "gui" unless given.
function(lumivue_add_qtest name)
    cmake_parse_arguments(A "" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
    add_executable(${name} ${A_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON AUTORCC ON)
    target_link_libraries(${name} PRIVATE lumivue_lib ${A_LIBS} Qt5::Test)
    lumivue_link_resources(${name})
    add_test(NAME ${name} COMMAND ${name})
    if(NOT A_LABELS)
        set(A_LABELS gui)
    endif()
    if(NOT A_TIMEOUT)
        set(A_TIMEOUT 300)
    endif()
    set_tests_properties(${name} PROPERTIES LABELS "${A_LABELS}" TIMEOUT ${A_TIMEOUT})
    lumivue_serialise_gige(${name} "${A_LABELS}")
    lumivue_test_environment(${name})
endfunction()

# lumivue_add_benchmark(NAME SOURCES ... [LIBS ...])
# A benchmark binary under bench/; scripts/bench runs every one and collects its "BENCH ..." lines.
function(lumivue_add_benchmark name)
    cmake_parse_arguments(A "" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${A_SOURCES})
    target_link_libraries(${name} PRIVATE ${A_LIBS} benchmark::benchmark Threads::Threads)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bench")
endfunction()
