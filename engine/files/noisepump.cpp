#include "files/noisepump.h"

#include <csignal>
#include <sys/mman.h>
#include <system_error>

namespace talo::files
{

Pages::Pages(std::size_t size)
    : data_(static_cast<char *>(
          mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    , size_(size)
{
    if (data_ == MAP_FAILED)
        data_ = nullptr;
}

Pages::~Pages()
{
    if (data_ != nullptr)
        munmap(data_, size_);
}

NoisePump::NoisePump(std::size_t pieceSize, Ahead ahead)
    : pages_(ahead == Ahead::Yes ? kPieces * pieceSize : pieceSize), pieceSize_(pieceSize)
{
    fails_ = !noise_ || pages_.data() == nullptr;
    if (ahead == Ahead::Yes && !fails_)
        start();
}

// The caller's signals are none of this thread's business.
void NoisePump::start()
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        thread_ = std::thread(&NoisePump::run, this);
    } catch (const std::system_error &) { // made as it is needed, then
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

NoisePump::~NoisePump()
{
    if (!thread_.joinable())
        return;
    {
        const std::lock_guard lock(mutex_);
        ends_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

bool NoisePump::make(std::size_t piece)
{
    return noise_.fill(pages_.data() + piece * pieceSize_, pieceSize_);
}

const char *NoisePump::next()
{
    if (!thread_.joinable())
        return !fails_ && make(0) ? pages_.data() : nullptr;
    std::unique_lock lock(mutex_);
    if (holds_) {
        ++used_;
        changed_.notify_all();
    }
    changed_.wait(lock, [this] { return made_ > used_ || fails_; });
    holds_ = !fails_;
    return holds_ ? pages_.data() + used_ % kPieces * pieceSize_ : nullptr;
}

void NoisePump::run()
{
    std::unique_lock lock(mutex_);
    while (!ends_ && !fails_) {
        if (made_ - used_ == kPieces) {
            changed_.wait(lock);
            continue;
        }
        const std::size_t piece = made_ % kPieces;
        lock.unlock();
        const bool good = make(piece);
        lock.lock();
        good ? ++made_ : fails_ = true;
        changed_.notify_all();
    }
}

} // namespace talo::files
