# Updates of the program itself. The key that releases are signed for is a matter of the build: 64
# hexadecimal digits, or nothing in a build that is not released, which then installs no release.
set(TALO_RELEASE_KEY "" CACHE STRING "Public Ed25519 key of the releases, in hexadecimal digits")
if(NOT TALO_RELEASE_KEY MATCHES "^([0-9a-fA-F][0-9a-fA-F])*$")
    message(FATAL_ERROR "TALO_RELEASE_KEY is to be 64 hexadecimal digits")
endif()
string(LENGTH "${TALO_RELEASE_KEY}" key_length)
if(NOT key_length EQUAL 0 AND NOT key_length EQUAL 64)
    message(FATAL_ERROR "TALO_RELEASE_KEY is to be 64 hexadecimal digits, and has ${key_length}")
endif()

add_library(talo_program_update STATIC
    packagefolder.cpp
    productaddress.cpp
    productdownload.cpp
    productinstall.cpp
    productmanifest.cpp
    productupdate.cpp
    productversion.cpp)
target_include_directories(talo_program_update PUBLIC ${TALO_ENGINE_ROOT})
target_link_libraries(talo_program_update
    PUBLIC talo_files Threads::Threads
    PRIVATE talo_options PkgConfig::CURL PkgConfig::SODIUM)

# Apart from the rest, so that a test can be linked with a key of its own instead.
add_library(talo_release_key STATIC releasekey.cpp)
target_include_directories(talo_release_key PUBLIC ${TALO_ENGINE_ROOT})
target_compile_definitions(talo_release_key PRIVATE TALO_RELEASE_KEY="${TALO_RELEASE_KEY}")
target_link_libraries(talo_release_key PRIVATE talo_options PkgConfig::SODIUM)

add_executable(talo-install-update installmain.cpp)
target_link_libraries(talo-install-update PRIVATE talo_program_update talo_options)
install(TARGETS talo-install-update DESTINATION libexec)
