# How tests are declared.

find_package(GTest REQUIRED)
include(GoogleTest)

# A GoogleTest program for a room of the engine that knows nothing of Qt.
#   talo_add_gtest(NAME SOURCES a.cpp … LIBRARIES talo_files …)
function(talo_add_gtest name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE talo_options ${ARG_LIBRARIES} GTest::gtest_main)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests ${TALO_ENGINE_ROOT})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    add_test(NAME ${name} COMMAND ${name})
endfunction()

# Without one the toolkit makes one in the temporary place, and leaves it there.
set(TALO_TEST_RUNTIME ${CMAKE_BINARY_DIR}/runtime CACHE INTERNAL "runtime folder of the tests")
file(MAKE_DIRECTORY ${TALO_TEST_RUNTIME})
file(CHMOD ${TALO_TEST_RUNTIME} DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)

# A QtTest program, without a display unless it starts one itself.
#   talo_add_qtest(NAME SOURCES a.cpp … LIBRARIES talo_pages …)
function(talo_add_qtest name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    set_target_properties(${name} PROPERTIES
        AUTOMOC ON RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    target_link_libraries(${name} PRIVATE talo_options ${ARG_LIBRARIES} Qt5::Test)
    target_include_directories(${name} PRIVATE
        ${PROJECT_SOURCE_DIR}/tests ${TALO_PANEL_ROOT} ${TALO_ENGINE_ROOT})
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES ENVIRONMENT
        "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8;TALO_BUILD_DIR=${CMAKE_BINARY_DIR};XDG_RUNTIME_DIR=${TALO_TEST_RUNTIME}")
endfunction()

# Devices are made up by umockdev, which stands between the test and the real /sys.
function(talo_mock_devices name)
    set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT LD_PRELOAD=libumockdev-preload.so.0)
    if(TALO_SANITIZE STREQUAL "thread")
        set(folder ${PROJECT_SOURCE_DIR}/cmake/sanitizers)
        file(READ ${folder}/races.supp races)
        file(READ ${folder}/mockeddevices.supp mocked)
        file(WRITE ${PROJECT_BINARY_DIR}/mockeddevices.supp "${races}${mocked}")
        set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT
            TSAN_OPTIONS=suppressions=${PROJECT_BINARY_DIR}/mockeddevices.supp:print_suppressions=0:history_size=7)
    endif()
endfunction()
