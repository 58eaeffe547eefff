// Marks an operation as part of libtaloengine.so's exported interface.
#pragma once

#define TALO_ENGINE_EXPORT __attribute__((visibility("default")))
