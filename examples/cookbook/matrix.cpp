// Matrix times vector in two ways, and operands brought into one phase.
#include "recipe.h"

/// y = A x, a row of A at a time, rows `pitch` floats apart. Lanes where the rows and x are in one phase.
void byRows(float* y, const float* a, std::int64_t pitch, const float* x, std::int64_t rows, std::int64_t columns) {
    for (std::int64_t i = 0; i < rows; ++i) y[i] = static_cast<float>(ZEL_Math::dot(a + i * pitch, x, columns));
}

/// y = A x, a column of A at a time, columns `pitch` floats apart: the sums of a plain upward loop in float.
void byColumns(float* y, const float* a, std::int64_t pitch, const float* x, std::int64_t rows, std::int64_t columns) {
    ZEL_Math::set(y, 0.0f, rows);
    for (std::int64_t j = 0; j < columns; ++j) ZEL_Math::madd(y, a + j * pitch, x[j], rows);
}

/// The n floats of x in the phase of `like`, in `room`, which has three floats more.
float* inPhaseOf(const float* like, float* room, const float* x, std::int64_t n) {
    const auto place = [](const float* p) { return reinterpret_cast<std::uintptr_t>(p) / 4; };
    float* twin = room + (place(like) - place(room)) % 4;
    std::copy(x, x + n, twin);
    return twin;
}

int main() {
    const std::int64_t rows = 288, columns = 767, pitch = (columns + 3) / 4 * 4;
    const Floats file = numbers(rows * pitch + 7, -1, 1), vector = numbers(columns, -1, 1);
    const float* weights = file.data() + 7;  // behind a header of 28 bytes
    Floats y(rows), twin(rows), loop(rows), room(columns + 3), exact(rows * pitch + 4), ones(pitch + 4, 1.0f);
    for (std::size_t i = 0; i < exact.size(); ++i) exact[i] = static_cast<float>(i % 11);
    for (const bool flag : {false, true}) {
        ZEL_Math::forceSIMD(flag);
        for (const std::int64_t n : {0, 1, 5, 288}) {
            byColumns(y.data(), weights, rows, vector.data(), n, columns);
            for (std::int64_t i = 0; i < n; ++i) {
                loop[i] = 0;
                for (std::int64_t j = 0; j < columns; ++j) loop[i] += weights[j * rows + i] * vector[j];
            }
            expect("columns", std::memcmp(y.data(), loop.data(), sizeof(float) * n) == 0);
        }
        // Of small whole numbers every order has the same sums.
        byRows(y.data(), exact.data() + 3, pitch, ones.data() + 3, rows, columns);
        for (std::int64_t i = 0; i < rows; ++i) {
            loop[i] = 0;
            for (std::int64_t j = 0; j < columns; ++j) loop[i] += exact[3 + i * pitch + j];
        }
        expectSame("rows", y, loop);
        for (int away = 0; away < 4; ++away) {
            const float* x = inPhaseOf(weights + away, room.data(), vector.data(), columns);
            const auto between = reinterpret_cast<std::uintptr_t>(x) - reinterpret_cast<std::uintptr_t>(weights + away);
            expect("in phase", between % 16 == 0 && std::memcmp(x, vector.data(), sizeof(float) * columns) == 0);
            expect("in its room", x >= room.data() && x + columns <= room.data() + room.size());
        }
    }
    const auto n = rows * columns;
    const float* x = inPhaseOf(weights, room.data(), vector.data(), columns);
    cost("rows, in phase", n, [&] { byRows(y.data(), weights, pitch, x, rows, columns); });
    cost("rows, two phases", n, [&] { byRows(y.data(), weights, pitch, vector.data(), rows, columns); });
    cost("rows, copy into their phase, in phase", n, [&] {
        byRows(y.data(), weights, pitch, inPhaseOf(weights, room.data(), vector.data(), columns), rows, columns);
    });
    cost("columns, in phase", n, [&] { byColumns(y.data(), exact.data(), rows, vector.data(), rows, columns); });
    cost("columns, a plain loop", n, [&] {
        for (std::int64_t i = 0; i < rows; ++i) {
            float sum = 0;
            for (std::int64_t j = 0; j < columns; ++j) sum += exact[j * rows + i] * vector[j];
            twin[i] = sum;
        }
    });
    cost("rows, a plain loop", n, [&] {
        for (std::int64_t i = 0; i < rows; ++i) {
            float sum = 0;
            for (std::int64_t j = 0; j < columns; ++j) sum += weights[i * pitch + j] * vector[j];
            twin[i] = sum;
        }
    });
    double keep = 0;
    for (const std::int64_t length : {64, 288, 4096}) {
        const Floats a = numbers(length + 1, -1, 1), b = numbers(length, -1, 1);
        std::printf("%lld floats a call:\n", static_cast<long long>(length));
        cost("dot, in phase", length, [&] { keep += ZEL_Math::dot(a.data(), b.data(), length); });
        cost("dot, two phases", length, [&] { keep += ZEL_Math::dot(a.data() + 1, b.data(), length); });
    }
    expect("a number", !std::isnan(keep));
    return theFailures;
}
