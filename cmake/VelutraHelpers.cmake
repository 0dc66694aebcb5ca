# Small helpers shared by every folder of the tree.

function(velutra_add_subdirectory_if_present folder)
    if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/CMakeLists.txt)
        add_subdirectory(${folder})
    endif()
endfunction()

# Environment every test runs in: offscreen widgets, fixed font DPI, and
# private config/data/runtime folders so that a test never reads or writes
# the user's own settings, logs or advertised virtual-laser ports.
set(VELUTRA_TEST_HOME ${CMAKE_BINARY_DIR}/test-home)
file(MAKE_DIRECTORY ${VELUTRA_TEST_HOME}/config ${VELUTRA_TEST_HOME}/data ${VELUTRA_TEST_HOME}/runtime)
file(CHMOD ${VELUTRA_TEST_HOME}/runtime DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
set(VELUTRA_TEST_ENVIRONMENT
    "QT_QPA_PLATFORM=offscreen"
    "QT_FONT_DPI=96"
    "XDG_CONFIG_HOME=${VELUTRA_TEST_HOME}/config"
    "XDG_DATA_HOME=${VELUTRA_TEST_HOME}/data"
    "XDG_RUNTIME_DIR=${VELUTRA_TEST_HOME}/runtime"
    "ASAN_OPTIONS=detect_leaks=1:abort_on_error=0:detect_stack_use_after_return=0"
    "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/scripts/lsan.supp:print_suppressions=0"
    "UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1"
    "VELUTRA_BUILD_DIR=${CMAKE_BINARY_DIR}"
    "VELUTRA_SOURCE_DIR=${PROJECT_SOURCE_DIR}")

# velutra_add_test(<name> SOURCES <files...> [LIBRARIES <targets...>] [TIMEOUT <s>] [LABELS <labels...>])
# Builds a QtTest executable and registers it with CTest in the shared environment.
function(velutra_add_test name)
    cmake_parse_arguments(T "" "TIMEOUT" "SOURCES;LIBRARIES;LABELS;ENVIRONMENT" ${ARGN})
    if(NOT T_TIMEOUT)
        set(T_TIMEOUT 120)
    endif()
    add_executable(${name} ${T_SOURCES})
    target_link_libraries(${name} PRIVATE Qt5::Test ${T_LIBRARIES})
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES
        TIMEOUT ${T_TIMEOUT}
        ENVIRONMENT "${VELUTRA_TEST_ENVIRONMENT};${T_ENVIRONMENT}")
    if(T_LABELS)
        set_tests_properties(${name} PROPERTIES LABELS "${T_LABELS}")
    endif()
endfunction()
