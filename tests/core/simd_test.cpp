// The parts of the vector vocabulary (core/simd.h, core/channel_lanes.h,
// core/bits.h) that the families' registry tests do not reach for every
// element type, or not yet at all (bit rows, interleaving), against plain
// scalar models written here: every lane count and tail length, pointers at
// every element offset from a 64-byte boundary, and buffers that end where an
// inaccessible page begins, with guard bytes before them that must keep their
// values. Roundings, extremes, reductions, fills and channel gathering are
// caught through the exports that use them.
#include "core/simd.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "core/bits.h"
#include "core/channel_lanes.h"
#include "support/image.h"

namespace {

using namespace zep::simd;

// n elements of T after 16 guard bytes and before `pad` guard elements; the
// last guard element ends at an inaccessible page. Every byte starts random.
template <class T>
class Guarded {
public:
    Guarded(std::mt19937& rng, int n, int pad)
        : n_(n), canvas_((n + pad) * int64_t{sizeof(T)}, 1, (n + pad) * int64_t{sizeof(T)}, kLead) {
        uint8_t* p = canvas_.first() - kLead;
        for (int64_t i = 0; i < kLead + (n + pad) * int64_t{sizeof(T)}; ++i) p[i] = static_cast<uint8_t>(rng());
        before_ = canvas_.bytes();
    }
    T* data() const { return reinterpret_cast<T*>(canvas_.first()); }
    // Whether every byte outside the n elements kept its value.
    bool guardsKept() const {
        const std::vector<uint8_t> now = canvas_.bytes();
        for (size_t i = 0; i < now.size(); ++i)
            if ((i < kLead || i >= kLead + n_ * sizeof(T)) && now[i] != before_[i]) return false;
        return true;
    }

private:
    static constexpr int kLead = 16;
    size_t n_;
    zt::Canvas canvas_;
    std::vector<uint8_t> before_;
};

template <class T>
using Lanes = std::array<T, kLanes<T>>;

template <class T>
Lanes<T> lanesOf(Vec<T> v) {
    Lanes<T> a;
    std::memcpy(a.data(), &v, 64);
    return a;
}
template <class T>
Vec<T> vecOf(const Lanes<T>& a) {
    Vec<T> v;
    std::memcpy(&v, a.data(), 64);
    return v;
}
template <class T>
Lanes<T> randomLanes(std::mt19937& rng) {
    Lanes<T> a;
    for (T& x : a) x = zt::randomValue<T>(rng, true);
    return a;
}
template <class T>
bool sameBits(T a, T b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}
uint64_t bit(uint64_t k, int i) { return (k >> i) & 1u; }

// Runs f.template operator()<T>() for each T.
template <class... T, class F>
void forTypes(F&& f) {
    (f.template operator()<T>(), ...);
}

TEST(Simd, NonzeroLanesReadOnlyTheirElements) {
    std::mt19937 rng(11);
    auto sweep = [&]<class T, int E>(const std::vector<T>& values) {
        for (int n = 0; n <= E; ++n)
            for (int pad = 0; pad < 2; ++pad) {
                Guarded<T> g(rng, n, pad);
                for (int i = 0; i < n; ++i) g.data()[i] = values[rng() % values.size()];
                uint64_t want = 0;
                for (int i = 0; i < n; ++i) want |= uint64_t{g.data()[i] != T(0)} << i;
                EXPECT_EQ(uint64_t{nonzeroLanes<E>(g.data(), n)}, want) << E << " lanes, n " << n;
                if (n == E) {
                    EXPECT_EQ(uint64_t{nonzeroLanes<E>(g.data())}, want);
                }
            }
    };
    const std::vector<uint8_t> bytes = {0, 0, 1, 128, 255};
    sweep.template operator()<uint8_t, 8>(bytes);
    sweep.template operator()<uint8_t, 16>(bytes);
    sweep.template operator()<uint8_t, 32>(bytes);
    sweep.template operator()<uint8_t, 64>(bytes);
    sweep.template operator()<uint16_t, 16>({0, 0, 1, 256, 0x8000, 0xFFFF});
    sweep.template operator()<float, 16>({0.0f, -0.0f, 1.0f, -1e-45f, NAN, -NAN, INFINITY});
}

TEST(Simd, MaskedLoadsAndStoresTouchOnlyTheirLanes) {
    std::mt19937 rng(12);
    forTypes<uint8_t, int8_t, uint16_t, int16_t, uint32_t, int32_t, float, uint64_t, double>([&]<class T>() {
        constexpr int E = kLanes<T>;
        for (int n = 0; n <= E; ++n)
            for (int pad = 0; pad < 4; ++pad) {
                SCOPED_TRACE(testing::Message() << sizeof(T) << "-byte lanes, n " << n << ", pad " << pad);
                const Lanes<T> v = randomLanes<T>(rng);
                if constexpr (sizeof(T) <= 4) {
                    Guarded<T> g(rng, n, pad);
                    const Lanes<T> got = lanesOf<T>(load(g.data(), firstLanes<E>(n)));
                    for (int i = 0; i < E; ++i) EXPECT_TRUE(sameBits(got[i], i < n ? g.data()[i] : T(0))) << i;
                    if constexpr (std::is_integral_v<T>) {
                        const Lanes<T> merged = lanesOf<T>(loadMerged(vecOf<T>(v), g.data(), firstLanes<E>(n)));
                        for (int i = 0; i < E; ++i) EXPECT_EQ(merged[i], i < n ? g.data()[i] : v[i]) << i;
                    }
                }
                Guarded<T> g(rng, n, pad);
                store(g.data(), vecOf<T>(v), firstLanes<E>(n));
                for (int i = 0; i < n; ++i) EXPECT_TRUE(sameBits(g.data()[i], v[i])) << i;
                EXPECT_TRUE(g.guardsKept());
                if (n == E) {
                    Guarded<T> w(rng, n, pad);
                    store(w.data(), vecOf<T>(v));
                    EXPECT_TRUE(w.guardsKept() && std::memcmp(w.data(), v.data(), 64) == 0);
                    EXPECT_EQ(std::memcmp(v.data(), lanesOf<T>(load(w.data())).data(), 64), 0);
                }
            }
    });
}

TEST(Simd, SelectionsKeepTheirLanesAndZeroTheRest) {
    std::mt19937 rng(13);
    forTypes<uint8_t, uint16_t, int32_t, float>([&]<class T>() {
        constexpr int E = kLanes<T>;
        for (int trial = 0; trial < 50; ++trial) {
            const uint64_t k = (uint64_t{rng()} << 32 | rng()) & (rng() % 2 ? ~uint64_t{0} : rng());
            Guarded<T> g(rng, E, static_cast<int>(rng() % 3));
            const Lanes<T> v = randomLanes<T>(rng);
            const Lanes<T> zeroed = lanesOf<T>(zeroOutside<T>(static_cast<Mask<T>>(k), vecOf<T>(v)));
            const Lanes<T> selected = lanesOf<T>(loadSelected(g.data(), static_cast<Mask<T>>(k)));
            for (int i = 0; i < E; ++i) {
                EXPECT_TRUE(sameBits(zeroed[i], bit(k, i) ? v[i] : T(0)));
                EXPECT_TRUE(sameBits(selected[i], bit(k, i) ? g.data()[i] : T(0)));
            }
            EXPECT_TRUE(sameBits(lanesOf<T>(splat(v[3]))[E - 1], v[3]));
        }
    });
}

TEST(Simd, WideningIsExact) {
    std::mt19937 rng(15);
    forTypes<uint8_t, uint16_t, int16_t>([&]<class T>() {
        for (int n = 0; n <= 16; ++n)
            for (int pad = 0; pad < 3; ++pad) {
                Guarded<T> g(rng, n, 0), whole(rng, 16, pad);
                const __mmask16 k = firstLanes<16>(n);
                const Lanes<int32_t> i32 = lanesOf<int32_t>(loadAsInt32(g.data(), k));
                const Lanes<float> f32 = lanesOf<float>(loadAsFloat(g.data(), k));
                const Lanes<int32_t> wholeI = lanesOf<int32_t>(loadAsInt32(whole.data()));
                const Lanes<float> wholeF = lanesOf<float>(loadAsFloat(whole.data()));
                for (int i = 0; i < 16; ++i) {
                    const int32_t want = i < n ? int32_t{g.data()[i]} : 0;
                    EXPECT_EQ(i32[i], want);
                    EXPECT_EQ(f32[i], static_cast<float>(want));
                    EXPECT_EQ(wholeI[i], int32_t{whole.data()[i]});
                    EXPECT_EQ(wholeF[i], static_cast<float>(whole.data()[i]));
                }
            }
    });
    for (int trial = 0; trial < 200; ++trial) {
        const Lanes<float> f = randomLanes<float>(rng);
        Lanes<int32_t> i;
        for (int32_t& x : i) x = static_cast<int32_t>(rng());
        const Lanes<double> f0 = lanesOf<double>(halfToDouble<0>(vecOf<float>(f)));
        const Lanes<double> f1 = lanesOf<double>(halfToDouble<1>(vecOf<float>(f)));
        const Lanes<double> i0 = lanesOf<double>(halfToDouble<0>(vecOf<int32_t>(i)));
        const Lanes<double> i1 = lanesOf<double>(halfToDouble<1>(vecOf<int32_t>(i)));
        const Lanes<double> d = lanesOf<double>(loadAsDouble(f.data() + 3));
        for (int l = 0; l < 8; ++l) {
            EXPECT_TRUE(sameBits(f0[l], double(f[l])) || (std::isnan(f0[l]) && std::isnan(f[l])));
            EXPECT_TRUE(sameBits(f1[l], double(f[l + 8])) || (std::isnan(f1[l]) && std::isnan(f[l + 8])));
            EXPECT_TRUE(sameBits(d[l], double(f[l + 3])) || (std::isnan(d[l]) && std::isnan(f[l + 3])));
            EXPECT_EQ(i0[l], double(i[l]));
            EXPECT_EQ(i1[l], double(i[l + 8]));
        }
        Lanes<uint64_t> acc;
        for (uint64_t& x : acc) x = uint64_t{rng()} << 32 | rng();
        const Lanes<uint64_t> u = lanesOf<uint64_t>(addWidened<uint32_t>(vecOf<uint64_t>(acc), vecOf<int32_t>(i)));
        const Lanes<uint64_t> s = lanesOf<uint64_t>(addWidened<int32_t>(vecOf<uint64_t>(acc), vecOf<int32_t>(i)));
        for (int l = 0; l < 8; ++l) {
            EXPECT_EQ(u[l], acc[l] + uint32_t(i[l]) + uint32_t(i[l + 8]));
            EXPECT_EQ(s[l], acc[l] + uint64_t(int64_t{i[l]}) + uint64_t(int64_t{i[l + 8]}));
        }
    }
}

// Pixel order: lane i is element C i + c of the interleaved pixels.
TEST(ChannelLanes, DeinterleaveAndInterleaveAreInverseRoutings) {
    std::mt19937 rng(20);
    auto sweep = [&]<class T, int C>() {
        constexpr int E = kLanes<T>;
        const Interleave<T, C> interleave;
        for (int n = 0; n <= E; ++n)
            for (int pad = 0; pad < 2; ++pad) {
                SCOPED_TRACE(testing::Message() << sizeof(T) << "-byte elements, " << C << " channels, n " << n);
                Guarded<T> g(rng, C * n, pad);
                for (int i = 0; i < C * n; ++i) g.data()[i] = zt::randomValue<T>(rng, true);
                Vec<T> channels[C];
                Lanes<T> planes[C];
                for (int c = 0; c < C; ++c) {
                    const Lanes<T> got = lanesOf<T>(Deinterleave<T, C>(c)(g.data(), n));
                    for (int i = 0; i < E; ++i) EXPECT_TRUE(sameBits(got[i], i < n ? g.data()[C * i + c] : T(0)));
                    planes[c] = randomLanes<T>(rng);
                    channels[c] = vecOf<T>(planes[c]);
                }
                Guarded<T> out(rng, C * n, pad);
                interleave(out.data(), channels, n);
                EXPECT_TRUE(out.guardsKept());
                for (int i = 0; i < C * n; ++i) EXPECT_TRUE(sameBits(out.data()[i], planes[i % C][i / C])) << i;
            }
    };
    sweep.template operator()<uint16_t, 1>();
    sweep.template operator()<uint16_t, 3>();
    sweep.template operator()<uint16_t, 4>();
    sweep.template operator()<int32_t, 3>();
    sweep.template operator()<float, 3>();
    sweep.template operator()<float, 4>();
}

// ---- Bit rows: pixel b of a row is bit 7 - b % 8 of byte b / 8.

int pixelAt(const uint8_t* row, int64_t b) { return (row[b >> 3] >> (7 - (b & 7))) & 1; }

TEST(Bits, LoadReadsOnlyTheBytesOfItsPixels) {
    std::mt19937 rng(21);
    for (int start = 0; start < 8; ++start)
        for (int n = 1; n <= 64; ++n) {
            const int bytes = (start + n + 7) / 8;  // the last pixel's byte ends at the inaccessible page
            Guarded<uint8_t> g(rng, bytes, 0);
            const uint64_t w = zep::bits::load(g.data(), start, n);
            for (int i = 0; i < 64; ++i)
                ASSERT_EQ(bit(w, 63 - i), i < n ? uint64_t(pixelAt(g.data(), start + i)) : 0u)
                    << "start " << start << ", n " << n << ", pixel " << i;
        }
    // Positions far into a row, and whole words.
    std::vector<uint8_t> row(64);
    for (uint8_t& x : row) x = static_cast<uint8_t>(rng());
    for (int64_t b = 0; b + 64 <= 64 * 8; b += 13) {
        const uint64_t w = zep::bits::load(row.data(), b);
        for (int i = 0; i < 64; ++i) ASSERT_EQ(bit(w, 63 - i), uint64_t(pixelAt(row.data(), b + i))) << b;
    }
}

TEST(Bits, StoreKeepsEveryBitOutsideItsPixels) {
    std::mt19937 rng(22);
    for (int start = 0; start < 8; ++start)
        for (int n = 1; n <= 64; ++n) {
            const int bytes = (start + n + 7) / 8;
            Guarded<uint8_t> g(rng, bytes, 0);
            const std::vector<uint8_t> before(g.data(), g.data() + bytes);
            const uint64_t w = uint64_t{rng()} << 32 | rng();
            zep::bits::store(g.data(), start, w, n);
            ASSERT_TRUE(g.guardsKept());
            for (int b = 0; b < 8 * bytes; ++b) {
                const int i = b - start;
                const int want = i >= 0 && i < n ? int(bit(w, 63 - i)) : pixelAt(before.data(), b);
                ASSERT_EQ(pixelAt(g.data(), b), want) << "start " << start << ", n " << n << ", bit " << b;
            }
        }
}

TEST(Bits, ShiftsCarryPixelsAcrossWords) {
    std::mt19937 rng(23);
    for (int trial = 0; trial < 50; ++trial) {
        uint8_t row[24];  // three words of pixels
        for (uint8_t& x : row) x = static_cast<uint8_t>(rng());
        const uint64_t w0 = zep::bits::load(row, 0), w1 = zep::bits::load(row, 64), w2 = zep::bits::load(row, 128);
        for (int k = 0; k <= 64; ++k) {
            const uint64_t back = zep::bits::shiftedFromBefore(w0, w1, k);
            const uint64_t on = zep::bits::shiftedFromAfter(w1, w2, k);
            for (int i = 0; i < 64; ++i) {
                ASSERT_EQ(bit(back, 63 - i), uint64_t(pixelAt(row, 64 + i - k))) << "k " << k << ", pixel " << i;
                ASSERT_EQ(bit(on, 63 - i), uint64_t(pixelAt(row, 64 + i + k))) << "k " << k << ", pixel " << i;
            }
        }
    }
    EXPECT_EQ(zep::bits::firstPixels(0), 0u);
    EXPECT_EQ(zep::bits::firstPixels(3), uint64_t{7} << 61);
    EXPECT_EQ(zep::bits::firstPixels(64), ~uint64_t{0});
}

}  // namespace
