# Starting sandboxed programs.
add_library(talo_scan_spawn STATIC spawn.cpp)
target_include_directories(talo_scan_spawn PUBLIC ${TALO_ENGINE_ROOT})
target_link_libraries(talo_scan_spawn PRIVATE talo_options)

# The pool of scan workers; talo-scan-worker itself is in engine/worker.
add_library(talo_scan_pool STATIC
    cleanfiles.cpp memorypressure.cpp poolcrew.cpp poolcrew_feed.cpp pooldispatcher.cpp
    poolqueue.cpp poolserver.cpp scratchfolder.cpp workerpool.cpp)
target_include_directories(talo_scan_pool PUBLIC ${TALO_ENGINE_ROOT})
target_link_libraries(talo_scan_pool 
    PRIVATE talo_options PkgConfig::SODIUM PUBLIC talo_scan_spawn Threads::Threads)
