// Pieces of noise, made ahead on a thread of their own.
#pragma once

#include "files/shrednoise.h"

#include <array>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <thread>

namespace talo::files
{

// Memory at a page's beginning, which direct writes need.
class Pages
{
public:
    explicit Pages(std::size_t size);
    ~Pages();
    Pages(const Pages &) = delete;
    Pages &operator=(const Pages &) = delete;

    char *data() const { return data_; } // null where there is no memory
    std::size_t size() const { return size_; }

private:
    char *data_;
    std::size_t size_;
};

// One user at a time. Where no thread can be had the noise is made while the user waits for it.
class NoisePump
{
public:
    enum class Ahead { No, Yes };

    NoisePump(std::size_t pieceSize, Ahead ahead);
    ~NoisePump();

    // The next piece, good until the next call. Null: there is no noise to be had.
    const char *next();

private:
    static constexpr std::size_t kPieces = 3;

    void run();
    bool make(std::size_t piece);
    void start();

    NoiseStream noise_;
    Pages pages_;
    std::size_t pieceSize_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t made_ = 0;
    std::size_t used_ = 0; // the piece that the user holds counts once it asks for the next
    bool holds_ = false;
    bool ends_ = false;
    bool fails_ = false;
    std::thread thread_;
};

} // namespace talo::files
