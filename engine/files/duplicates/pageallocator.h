// Memory that goes back to the system the moment it is freed.
#pragma once

#include <cstddef>
#include <new>
#include <sys/mman.h>

namespace talo::files
{

// For blocks of many pages that are filled by one thread and freed by another: the C library would
// keep these for the thread that allocated them.
template <class T> struct PageAllocator {
    using value_type = T;

    PageAllocator() = default;
    template <class Other> PageAllocator(const PageAllocator<Other> &) {}

    T *allocate(std::size_t count)
    {
        void *pages = mmap(nullptr, count * sizeof(T), PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pages == MAP_FAILED)
            throw std::bad_alloc();
        return static_cast<T *>(pages);
    }
    void deallocate(T *pages, std::size_t count) { munmap(pages, count * sizeof(T)); }
};
template <class A, class B> bool operator==(const PageAllocator<A> &, const PageAllocator<B> &)
{
    return true;
}
template <class A, class B> bool operator!=(const PageAllocator<A> &, const PageAllocator<B> &)
{
    return false;
}

} // namespace talo::files
