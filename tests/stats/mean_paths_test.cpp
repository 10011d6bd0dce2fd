// The two vector sums of 8u pixels, by 16-bit multiply-adds and by byte dot
// products (which the library binds where the processor has AVX512-VNNI), each
// against direct sums: random rows and rows of 255 long enough for the 32-bit
// lanes to be moved to 64-bit ones several times a row, in every form.
#include <gtest/gtest.h>

#include <random>
#include <utility>
#include <vector>

#include "stats/mean.h"

namespace {

template <int C, bool Masked, bool Dot>
void check(int w, int h, bool full, std::mt19937& rng) {
    std::vector<uint8_t> img(size_t(w) * h * C), mask(size_t(w) * h);
    for (uint8_t& v : img) v = full ? 255 : uint8_t(rng());
    for (uint8_t& v : mask) v = full || rng() % 4 != 0;
    const int ch = C == 3 ? int(rng() % 3) : 0;
    double sum = 0, sumSq = 0;
    int64_t n = 0;
    for (size_t y = 0; y < size_t(h); ++y) {
        uint64_t s = 0, q = 0;
        for (size_t x = 0, i = y * size_t(w); x < size_t(w); ++x, ++i) {
            const uint64_t v = img[i * C + size_t(ch)];
            if (!Masked || mask[i]) s += v, q += v * v, ++n;
        }
        sum += double(s), sumSq += double(q);
    }
    const zep::stats::Moments m = zep::stats::moments<zep::Path::vector, uint8_t, C, Masked, true, Dot>(
        img.data(), w * C, mask.data(), w, {w, h}, ch);
    EXPECT_TRUE(m.sum == sum && m.sumSq == sumSq && m.count == n)
        << w << "x" << h << " C" << C << (Masked ? " masked" : "") << (full ? " of 255" : "") << (Dot ? " dot" : "");
}

template <bool Dot>
void everyForm() {
    std::mt19937 rng(5);
    for (bool full : {false, true})
        for (auto [w, h] :
             {std::pair{1, 1}, {63, 3}, {64, 2}, {129, 5}, {1 + int(rng() % 999), 7}, {(3 << 20) + 37, 1}})
            check<1, false, Dot>(w, h, full, rng), check<3, false, Dot>(w, h, full, rng),
                check<1, true, Dot>(w, h, full, rng), check<3, true, Dot>(w, h, full, rng);
}

TEST(MeanPaths, MultiplyAddsAndDotProductsSumExactly) {
    everyForm<false>();
#if ZEPCV_EMULATE_AVX512
    GTEST_SKIP() << "byte dot products are a native path";
#else
    if (!__builtin_cpu_supports("avx512vnni")) GTEST_SKIP() << "no AVX512-VNNI on this processor";
    everyForm<true>();
#endif
}

}  // namespace
