// The engine's cases made of bytes: row, flag, mode, count, places, data. scripts/fuzz builds and runs it.
#include <algorithm>
#include <cstdlib>

#include "engine.h"

using namespace test;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::uint8_t* const end = data + size;
    const auto byte = [&]() -> std::uint32_t { return data < end ? *data++ : 0; };
    const auto half = [&] { return byte() << 8 | byte(); };
    Row row = rows()[half() % rows().size()];
    std::string library;
    row.name = symbolOf(row.member, library);
    Case c;
    const std::uint32_t mode = byte(), kind = byte();
    c.flag = mode & 1;
    c.control = 0x1F80 | (mode >> 1 & 3) << 13 | (mode >> 3 & 1) << 15 | (mode >> 4 & 1) << 6 | (byte() & 63);
    Count most = paneBytes / 2;
    for (const Operand& o : row.operands) most = std::min(most, paneBytes / 2 / o.size / o.perCount);
    c.count = kind < 192 ? kind % 70 : half() % most;
    c.places.resize(row.operands.size());
    int pane = 0;
    for (std::size_t k = 0; k < row.operands.size(); ++k) {
        const Operand& o = row.operands[k];
        if (!o.array) continue;
        const Count room = paneBytes - extent(o, c.count);
        const std::uint32_t how = byte(), shift = byte();
        // In memory of its own, in the middle or at an end, or near another one.
        Place p{pane++, shift == 255 ? 0 : shift == 254 ? room : paneBytes / 3 + shift % 16 * o.size, false};
        if (how % 3 && k > 0) {
            p = c.places[how / 3 % k];
            constexpr Count steps[] = {1, 4, 64, 1024};
            p.offset += (static_cast<Count>(shift) - 128) * o.size * (shift % 5 ? 1 : steps[how >> 6]);
        }
        p.offset = std::clamp<Count>(p.offset - p.offset % o.size, 0, room);
        p.null = o.nullable && how > 128;
        c.places[k] = p;
    }
    // What is left of the bytes is data: values first, then the start of each array; the rest is the engine's.
    row.adjust = [&, adjust = row.adjust](Case& it, const auto& random) {
        for (std::size_t k = 0; k < row.operands.size(); ++k) {
            const Operand& o = row.operands[k];
            if (it.places[k].null || data == end) continue;
            const Count given = std::min<Count>(extent(o, c.count), o.array ? byte() : o.size);
            std::byte* to = it.at(k);
            for (Count i = 0; i < given && data < end; ++i) to[i] = static_cast<std::byte>(byte());
        }
        if (adjust) adjust(it, random);
    };
    if (!runCase(row, c, half())) std::abort();
    return 0;
}
