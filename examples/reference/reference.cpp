// The examples of the reference: scripts/docs puts each on its family's page, with its lines of
// reference.txt, which the tests compare with what this program prints.
#include <cstdio>
#include <type_traits>
#include <vector>

#include "ZEL_Math.h"

/// A line of numbers.
template <class T> void show(const T* x, std::int64_t num) {
    const int digits = std::is_integral_v<T> ? 10 : 9;  // what tells any two apart
    for (std::int64_t i = 0; i < num; ++i) std::printf("%s%.*g", i ? " " : "", digits, static_cast<double>(x[i]));
    std::printf("\n");
}

/// An example of a family, with its name around what it prints.
template <class Run> void example(const char* family, Run run) {
    std::printf("[%s]\n", family);
    run();
    std::printf("[%s]\n", family);
}

int main() {
    example("The", [] {
        //! [The]
        ZEL_Math::forceSIMD(false);  // element loops from here on: the same bits everywhere
        std::printf("%d\n", ZEL_Math::isSIMD());
        ZEL_Math::forceSIMD(true);  // as at load
        std::printf("%d\n", ZEL_Math::isSIMD());
        //! [The]
    });
    example("Assignment", [] {
        //! [Assignment]
        ZEL_Math one, other;  // empty: no call needs them
        std::printf("%d\n", &(one = other) == &one);
        //! [Assignment]
    });
    example("Add", [] {
        //! [Add]
        const float a[] = {1, 2, 3}, b[] = {10, 20, 30};
        float d[3];
        ZEL_Math::add(d, a, b, 3);
        show(d, 3);
        ZEL_Math::sub(d, 1.0f, a, 3);  // 1 - a[i]
        show(d, 3);
        ZEL_Math::mul(d, d, 0.5f, 3);  // in place, by a value
        show(d, 3);
        //! [Add]
    });
    example("Division", [] {
        //! [Division]
        const float a[] = {1, 3, -1, 0}, b[] = {3, 3, 0, 0};
        float d[4];
        ZEL_Math::div(d, 1.0f, b, 4);
        show(d, 4);
        ZEL_Math::div(d, a, 3.0f, 4);  // times the rounded 1 / 3
        show(d, 4);
        //! [Division]
    });
    example("Guarded", [] {
        //! [Guarded]
        const float part[] = {1, 2, 0, 5}, whole[] = {4, 4, 0, 0};
        float share[4];
        ZEL_Math::safediv(share, part, whole, 4);
        show(share, 4);
        //! [Guarded]
    });
    example("Reciprocal", [] {
        //! [Reciprocal]
        const float a[] = {1, 4, 9, 2}, b[] = {1, 2, 4};
        float d[4];
        ZEL_Math::sqrt(d, a, 4);
        show(d, 4);
        ZEL_Math::invert(d, b, 3);  // too short for a lane group: exact quotients
        show(d, 3);
        ZEL_Math::isqrtSIMD(d, a, 3);  // the same, of roots
        show(d, 3);
        //! [Reciprocal]
    });
    example("Sign", [] {
        //! [Sign]
        const float a[] = {-3, -0.5f, 0.25f, 2};
        float d[4];
        ZEL_Math::abs(d, a, 4);
        show(d, 4);
        ZEL_Math::zelmax(d, a, 0.0f, 4);
        show(d, 4);
        ZEL_Math::clamp(d, a, -1.0f, 1.0f, 4);
        show(d, 4);
        //! [Sign]
    });
    example("Multiply", [] {
        //! [Multiply]
        const float a[] = {0, 10, 20}, b[] = {1, 20, 40};
        float d[] = {1, 2, 3};
        ZEL_Math::madd(d, a, 0.5f, 3);  // d + a * 0.5
        show(d, 3);
        ZEL_Math::scaleoffset(d, 2.0f, a, 3);  // d * 2 + a
        show(d, 3);
        ZEL_Math::lerp(d, a, b, 0.25f, 3);  // a quarter of the way from a to b
        show(d, 3);
        //! [Multiply]
    });
    example("Comparisons", [] {
        //! [Comparisons]
        const float a[] = {1, 2, 3}, b[] = {3, 2, 1};
        int d[3];
        ZEL_Math::lt(d, a, b, 3);
        show(d, 3);
        ZEL_Math::ge(d, a, 2.0f, 3);
        show(d, 3);
        //! [Comparisons]
    });
    example("Fast", [] {
        //! [Fast]
        const std::vector<float> a = {1, 2, 3, 4, 5};  // from malloc, on 16 bytes: a lane group and a tail
        std::vector<int> d(5);
        ZEL_Math::fastgt(d.data(), a.data(), 2.0f, 5);
        show(d.data(), 5);
        std::printf("%d of 5\n", 5 - ZEL_Math::zerocount(d.data(), 5));
        //! [Fast]
    });
    example("Bit", [] {
        //! [Bit]
        const int a[] = {0, 0, 1, 1}, b[] = {0, 1, 0, 1};
        int d[4];
        ZEL_Math::bor(d, a, b, 4);
        show(d, 4);
        ZEL_Math::bxor(d, d, 1, 4);  // not
        show(d, 4);
        //! [Bit]
    });
    example("Fill", [] {
        //! [Fill]
        const std::uint32_t mask[] = {0, 1, 1, 0};
        float d[] = {1, 2, 3, 4}, other[] = {5, 6, 7, 8};
        ZEL_Math::set(d, 9.0f, 4, mask);  // where the mask is 0
        show(d, 4);
        ZEL_Math::swap(d, other, 2);
        show(d, 4);
        show(other, 4);
        //! [Fill]
    });
    example("Float", [] {
        //! [Float]
        const float a[] = {1.5f, -1.5f, 3e9f};
        int d[3];
        ZEL_Math::cast(d, a, 3);
        show(d, 3);
        ZEL_Math::floor(d, a, 3);
        show(d, 3);
        float rest[3];
        ZEL_Math::splitFloat(d, rest, a, 2);
        show(rest, 2);
        //! [Float]
    });
    example("White", [] {
        //! [White]
        const float light[] = {-0.1f, 0, 0.5f, 1, 1.7f};
        std::uint8_t bytes[5];
        ZEL_Math::wpoint(bytes, light, 255.0f, 255.0f, 0.0f, 5);  // scale, limit, black
        show(bytes, 5);
        float back[5];
        ZEL_Math::iwpoint(back, bytes, 128.0f, 0, 5);  // scale, black
        show(back, 5);
        //! [White]
    });
    example("Dot", [] {
        //! [Dot]
        const float a[] = {1, 2, 3}, b[] = {4, 5, 6};
        std::printf("%g\n", ZEL_Math::dot(a, b, 3));
        std::printf("%g\n", ZEL_Math::dotSISD(a, a, 3));  // one sum, one order, whatever the flag
        //! [Dot]
    });
    example("Update", [] {
        //! [Update]
        const float a[] = {1, 1, 1}, b[] = {2, 4, 6};
        float d[] = {2, 3, 5};
        std::printf("%g\n", ZEL_Math::maddAndNorm(d, a, -1.0, 3));  // d - a, and the square of its norm
        show(d, 3);
        std::printf("%g\n", ZEL_Math::mulAndDotDA(d, a, b, 3));  // a * b, and its product with a
        show(d, 3);
        //! [Update]
    });
    example("Zero", [] {
        //! [Zero]
        const int words[] = {0, 7, 0, -1, 0};
        std::printf("%d\n", ZEL_Math::zerocount(words, 5));
        //! [Zero]
    });
    example("Matrix", [] {
        //! [Matrix]
        const float quarterTurn[3][4] = {{0, -1, 0, 100}, {1, 0, 0, 0}, {0, 0, 1, 0}};  // and 100 along x
        const std::uint32_t fixed[] = {0, 1, 0};
        float points[] = {1, 0, 0, 0, 1, 0, 2, 3, 4};
        ZEL_Math::mulColVec34(points, quarterTurn, 3, fixed);
        show(points, 9);
        //! [Matrix]
    });
    example("Four", [] {
        //! [Four]
        float frames[] = {1, 1, 2, 2, 3, 3, 4, 4};  // left and right, two frames a vector
        const float gains[] = {1, 0.5f, 1, 0.5f};
        ZEL_Math::vmul4u4(frames, gains, 2, nullptr);
        show(frames, 8);
        //! [Four]
    });
}
