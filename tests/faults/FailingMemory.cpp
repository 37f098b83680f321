#include "faults/FailingMemory.hpp"

#include <malloc.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>

// The C library's own functions, by the names that can't be replaced.
#ifdef __clang__
#pragma clang diagnostic ignored "-Wreserved-identifier"
#endif
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace vorlandi::faults {
namespace {

constinit LiveMemory live{};
constinit int untilFailure = 0;  // 0: nothing fails
constinit bool isLasting = false;
constinit bool isReached = false;

bool fails() noexcept {
    if (untilFailure == 0) return false;
    if (untilFailure > 1) {
        --untilFailure;
        return false;
    }
    isReached = true;
    if (!isLasting) untilFailure = 0;
    errno = ENOMEM;
    return true;
}

void* counted(void* block) noexcept {
    if (block == nullptr) return nullptr;
    ++live.blocks;
    live.bytes += static_cast<std::int64_t>(::malloc_usable_size(block));
    return block;
}

void uncount(void* block) noexcept {
    if (block == nullptr) return;
    --live.blocks;
    live.bytes -= static_cast<std::int64_t>(::malloc_usable_size(block));
}

}  // namespace

void failAllocation(int n, Failing failing) {
    untilFailure = n;
    isLasting = failing == Failing::Lasting;
    isReached = false;
}

bool stopFailing() {
    untilFailure = 0;
    return isReached;
}

LiveMemory liveMemory() { return live; }

}  // namespace vorlandi::faults

using namespace vorlandi::faults;

extern "C" {

void* malloc(std::size_t size) noexcept { return fails() ? nullptr : counted(__libc_malloc(size)); }

void* calloc(std::size_t count, std::size_t size) noexcept {
    return fails() ? nullptr : counted(__libc_calloc(count, size));
}

void* realloc(void* block, std::size_t size) noexcept {
    if (fails()) return nullptr;
    uncount(block);
    return counted(__libc_realloc(block, size));
}

void* memalign(std::size_t alignment, std::size_t size) noexcept {
    return fails() ? nullptr : counted(__libc_memalign(alignment, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept { return memalign(alignment, size); }

int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
    *block = memalign(alignment, size);
    return *block != nullptr ? 0 : ENOMEM;
}

void free(void* block) noexcept {
    uncount(block);
    __libc_free(block);
}

void* mmap(void* address, std::size_t size, int protection, int flags, int file, off_t offset) noexcept {
    if (fails()) return MAP_FAILED;
    void* const mapping = reinterpret_cast<void*>(::syscall(SYS_mmap, address, size, protection, flags, file, offset));
    if (mapping != MAP_FAILED) live.mappedBytes += static_cast<std::int64_t>(size);
    return mapping;
}

int munmap(void* address, std::size_t size) noexcept {
    live.mappedBytes -= static_cast<std::int64_t>(size);
    return static_cast<int>(::syscall(SYS_munmap, address, size));
}

// A fixed new address takes the place of a mapping that is counted already.
void* mremap(void* address, std::size_t size, std::size_t newSize, int flags, ...) noexcept {
    if (fails()) return MAP_FAILED;
    std::va_list arguments;
    va_start(arguments, flags);
    void* const wanted = (flags & MREMAP_FIXED) != 0 ? va_arg(arguments, void*) : nullptr;
    va_end(arguments);
    void* const mapping = reinterpret_cast<void*>(::syscall(SYS_mremap, address, size, newSize, flags, wanted));
    if (mapping == MAP_FAILED) return mapping;
    live.mappedBytes -= static_cast<std::int64_t>(size);
    if (wanted == nullptr) live.mappedBytes += static_cast<std::int64_t>(newSize);
    return mapping;
}

}  // extern "C"
