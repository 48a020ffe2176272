#include "AllocationGuard.h"

#include <cerrno>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TARN_HEAP_HAS_HOOKS
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TARN_HEAP_HAS_HOOKS
#endif
#endif

namespace {

thread_local constinit std::size_t calls = 0;

}  // namespace

#ifdef TARN_HEAP_HAS_HOOKS

#include <sanitizer/allocator_interface.h>

namespace {

[[maybe_unused]] const int installed = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, std::size_t) { ++calls; }, [](const volatile void*) { ++calls; });

}  // namespace

#else

// The C library's own functions under the names that it keeps for whoever replaces the public ones.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);

void* malloc(std::size_t size) noexcept {
    ++calls;
    return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) noexcept {
    ++calls;
    return __libc_calloc(count, size);
}
void* realloc(void* memory, std::size_t size) noexcept {
    ++calls;
    return __libc_realloc(memory, size);
}
void* memalign(std::size_t alignment, std::size_t size) noexcept {
    ++calls;
    return __libc_memalign(alignment, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    ++calls;
    return __libc_memalign(alignment, size);
}
int posix_memalign(void** memory, std::size_t alignment, std::size_t size) noexcept {
    ++calls;
    *memory = __libc_memalign(alignment, size);
    return *memory == nullptr ? ENOMEM : 0;
}
void free(void* memory) noexcept {
    calls += memory == nullptr ? 0 : 1;
    __libc_free(memory);
}
}
// NOLINTEND(bugprone-reserved-identifier)

#endif

namespace tarn::test {

AllocationGuard::AllocationGuard() : begin_(calls) {}

std::size_t AllocationGuard::count() const {
    return calls - begin_;
}

}  // namespace tarn::test
