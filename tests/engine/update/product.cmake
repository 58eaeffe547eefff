# Updates of the program, against a server of releases on the loopback device.
add_library(talo_test_releases STATIC releasemaker.cpp releaseserver.cpp)
target_include_directories(talo_test_releases PUBLIC ${PROJECT_SOURCE_DIR}/tests ${TALO_ENGINE_ROOT})
target_link_libraries(talo_test_releases
    PUBLIC talo_files Threads::Threads
    PRIVATE talo_options talo_program_update PkgConfig::SODIUM)

add_library(talo_test_release_key STATIC testreleasekey.cpp)
target_link_libraries(talo_test_release_key PUBLIC talo_test_releases PRIVATE talo_options)

talo_add_gtest(update_product_manifest
    SOURCES productmanifest_test.cpp LIBRARIES talo_program_update talo_test_releases)
foreach(part update install)
    talo_add_gtest(update_product_${part}
        SOURCES product${part}_test.cpp LIBRARIES talo_program_update talo_test_releases)
    target_compile_definitions(update_product_${part} PRIVATE
        TALO_INSTALL_UPDATE="$<TARGET_FILE:talo-install-update>")
    add_dependencies(update_product_${part} talo-install-update)
endforeach()

# The service as it is, but for the key: no key of a test is ever in the product's own.
add_executable(talod-test-key ${PROJECT_SOURCE_DIR}/engine/service/main.cpp)
set_target_properties(talod-test-key PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
target_link_libraries(talod-test-key PRIVATE talo_service talo_test_release_key talo_options)

talo_add_gtest(update_release_tool SOURCES releasetool_test.cpp
    LIBRARIES talo_program_update PkgConfig::SODIUM)
target_compile_definitions(update_release_tool PRIVATE
    TALO_RELEASE_TOOL="${PROJECT_SOURCE_DIR}/packaging/release/talo-release")
