# Where the product lives. Its programs look for each other there, so the prefix is not a choice.

set(TALO_PREFIX /usr/local/taloantivirus)
if(CMAKE_INSTALL_PREFIX_INITIALIZED_TO_DEFAULT)
    set(CMAKE_INSTALL_PREFIX ${TALO_PREFIX} CACHE PATH "" FORCE)
endif()
set(CMAKE_BUILD_RPATH "\$ORIGIN/../lib")
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_INSTALL_RPATH ${TALO_PREFIX}/lib)
