// Sizes at which a kernel changes how it goes through memory: bytes of all arrays of one call together. Those of sums
// were measured on Zen 4 and Zen 5 server cores (1 MiB of L2, 32 MiB of L3), that of stores on a Zen 4 core and a Xeon.
#pragma once

#include "frame/operands.h"

namespace zel {

/// Up to here, two blocks of a sum are formed side by side, or up to four where nothing is written. In larger arrays
/// the processor's prefetcher is too slow for so many places in each array.
constexpr Count pairedBytes = Count{1536} << 10;
/// Up to here, two are formed side by side with prefetch instructions. Beyond, one block is formed after the other.
constexpr Count prefetchedBytes = Count{20} << 20;

/// From here on, lane groups are written by non-temporal stores, because no cache would keep them until they are read
/// again. The largest cache that one core can fill has 96 MiB. Tests build with a lower bound.
#ifdef ZEL_CACHE_BYTES
constexpr Count nonTemporalBytes = ZEL_CACHE_BYTES;
#else
constexpr Count nonTemporalBytes = Count{128} << 20;
#endif

}  // namespace zel
