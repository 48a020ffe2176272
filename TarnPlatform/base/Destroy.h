#pragma once

namespace tarn {

/// Deleter of a `std::unique_ptr` that owns an object of a C library.
template <auto destroy>
struct Destroy {
    template <typename T>
    void operator()(T* object) const {
        destroy(object);
    }
};

}  // namespace tarn
