# The one place for compiler settings: every target of ours links talo_options.

option(BUILD_TESTING "Build the tests" ON)
option(TALO_FUZZ "Build the fuzz targets for libFuzzer; needs clang" OFF)
set(TALO_VERSION "" CACHE STRING "Version to build, instead of the sources' own")
set(TALO_SANITIZE "" CACHE STRING "Sanitizers to build with, such as address,undefined")

set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

find_program(CCACHE ccache)
if(CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

add_library(talo_options INTERFACE)
set_target_properties(talo_options PROPERTIES INTERFACE_POSITION_INDEPENDENT_CODE ON)
target_compile_options(talo_options INTERFACE
    -Wall -Wextra -Wpedantic -Werror -Wshadow
    -fvisibility=hidden -fstack-protector-strong -fstack-clash-protection)
target_compile_definitions(talo_options INTERFACE
    _GNU_SOURCE _FILE_OFFSET_BITS=64
    QT_DEPRECATED_WARNINGS QT_DISABLE_DEPRECATED_BEFORE=0x050500)
target_link_options(talo_options INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,--as-needed)
if(TALO_SANITIZE)
    target_compile_options(talo_options INTERFACE
        -fsanitize=${TALO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(talo_options INTERFACE -fsanitize=${TALO_SANITIZE})
    if(TALO_FUZZ)
        target_compile_options(talo_options INTERFACE -fsanitize=fuzzer-no-link)
    endif()
else()
    target_compile_definitions(talo_options INTERFACE
        $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
endif()

# As a plain variable where none was given: what a cache remembers would outlive a release.
if(NOT TALO_VERSION)
    set(TALO_VERSION ${PROJECT_VERSION})
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/taloversion.h.in
    ${CMAKE_BINARY_DIR}/generated/taloversion.h @ONLY)
target_include_directories(talo_options INTERFACE ${CMAKE_BINARY_DIR}/generated)

# For programs that confine themselves. The check of virtual tables looks whether memory is there in a
# way that the sandbox forbids.
function(talo_sandboxed TARGET)
    if(TALO_SANITIZE)
        get_target_property(sources ${TARGET} SOURCES)
        set_source_files_properties(${sources} PROPERTIES COMPILE_OPTIONS -fno-sanitize=vptr)
        target_sources(${TARGET} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/sanitizers/sandboxed.cpp)
    endif()
endfunction()

# The two roots of every include path: "engine/…", "pages/…" and "app/…" lie below src,
# "scan/…", "store/…" and the other rooms of the engine below engine.
set(TALO_PANEL_ROOT ${PROJECT_SOURCE_DIR}/src)
set(TALO_ENGINE_ROOT ${PROJECT_SOURCE_DIR}/engine)
