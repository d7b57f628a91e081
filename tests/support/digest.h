// Digests over all results: one of what must be the same on every machine, one of the processor's estimates.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace test {

inline std::uint64_t theDigests[2] = {14695981039346656037u, 14695981039346656037u};

inline void digest(bool estimate, const std::byte* bytes, std::size_t size) {
    std::uint64_t& d = theDigests[estimate];
    for (std::size_t i = 0; i < size; ++i)
        d = (d ^ static_cast<std::uint64_t>(bytes[i])) * 1099511628211u;  // FNV-1a
}
inline void printDigests() {
    std::printf("digest %016llx, of estimates %016llx\n", static_cast<unsigned long long>(theDigests[0]),
                static_cast<unsigned long long>(theDigests[1]));
}

}  // namespace test
