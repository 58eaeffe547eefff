add_library(pool_fixture STATIC pool_fixture.cpp longload.cpp)
target_include_directories(pool_fixture PUBLIC ${PROJECT_SOURCE_DIR}/tests)
target_link_libraries(pool_fixture PRIVATE talo_options PUBLIC talo_scan_pool GTest::gtest)
target_compile_definitions(pool_fixture PRIVATE TALO_BUILD_DIR="${CMAKE_BINARY_DIR}")

add_executable(talo-fake-scan-server fakeserver.cpp)
target_include_directories(talo-fake-scan-server PRIVATE ${TALO_ENGINE_ROOT})
target_link_libraries(talo-fake-scan-server PRIVATE talo_options)
set_target_properties(talo-fake-scan-server PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)

foreach(part verdicts faults life pressure priority user hostile)
    talo_add_gtest(tst_pool_${part} SOURCES pool_${part}_test.cpp LIBRARIES pool_fixture)
    add_dependencies(tst_pool_${part}
        talo-scan-worker talo-scan-worker-faulty talo-fake-scan-server)
    # Processes and folders are counted.
    set_tests_properties(tst_pool_${part} PROPERTIES RESOURCE_LOCK scan_pool)
endforeach()
