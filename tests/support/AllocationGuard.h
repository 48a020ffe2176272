#pragma once

#include <cstddef>

namespace tarn::test {

/// Counts what its thread asks of the heap while it lives: allocations, growing and freeing, by operator new,
/// by malloc and its kin, in this program and in every library it calls. What other threads do is not
/// counted. Guards may nest; each counts from its own beginning. Not to be handed to another thread.
///
/// A program that links this replaces malloc for good; with a sanitizer, which has replaced it already, the
/// sanitizer's hooks count instead.
class AllocationGuard {
public:
    AllocationGuard();
    ~AllocationGuard() = default;
    AllocationGuard(const AllocationGuard&) = delete;
    AllocationGuard& operator=(const AllocationGuard&) = delete;

    std::size_t count() const;  ///< calls since construction

private:
    std::size_t begin_;
};

}  // namespace tarn::test
