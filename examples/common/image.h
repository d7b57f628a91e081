// Planar images. Every array begins on a cache line: all have the same phase, and calls use the lane form.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

template <class T> struct CacheLineAllocator {
    using value_type = T;
    static constexpr std::align_val_t line{64};

    CacheLineAllocator() = default;
    template <class U> CacheLineAllocator(const CacheLineAllocator<U>&) {}

    T* allocate(std::size_t n) { return static_cast<T*>(::operator new(n * sizeof(T), line)); }
    void deallocate(T* p, std::size_t) { ::operator delete(p, line); }
    bool operator==(const CacheLineAllocator&) const = default;
};

template <class T> using Array = std::vector<T, CacheLineAllocator<T>>;
using Floats = Array<float>;

struct Image {
    std::int64_t width = 0, height = 0;
    std::array<Floats, 3> channel;  // red, green, blue, in linear light

    std::int64_t size() const { return width * height; }
};
