// The vector vocabulary of the kernels (core/simd.h, core/channel_lanes.h,
// core/bits.h) against plain scalar models written here: every lane count and
// tail length of each element type, pointers at every element offset from a
// 64-byte boundary, and buffers that end where an inaccessible page begins,
// so that reading or writing one element too many faults, with guard bytes
// before them that must keep their values.
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

TEST(Simd, FirstLanesSelectsTheFirstNClamped) {
    auto check = [](auto mask, int E) {
        for (int n = -3; n <= E + 3; ++n) {
            const uint64_t want = n <= 0    ? 0
                                  : n >= 64 ? ~uint64_t{0}
                                  : n >= E  ? (uint64_t{1} << E) - 1
                                            : (uint64_t{1} << n) - 1;
            EXPECT_EQ(uint64_t{mask(n)}, want) << E << " lanes, n " << n;
        }
    };
    check([](int n) { return firstLanes<8>(n); }, 8);
    check([](int n) { return firstLanes<16>(n); }, 16);
    check([](int n) { return firstLanes<32>(n); }, 32);
    check([](int n) { return firstLanes<64>(n); }, 64);
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

TEST(Simd, FillWritesExactlyItsElements) {
    std::mt19937 rng(14);
    forTypes<uint16_t, int32_t, float, double>([&]<class T>() {
        constexpr int E = kLanes<T>;
        for (int n = 0; n <= 3 * E + 1; ++n)
            for (int pad = 0; pad < 3; ++pad) {
                Guarded<T> g(rng, n, pad);
                const T v = zt::randomValue<T>(rng, true);
                fill(g.data(), n, v);
                for (int i = 0; i < n; ++i) ASSERT_TRUE(sameBits(g.data()[i], v)) << n << " " << i;
                ASSERT_TRUE(g.guardsKept()) << sizeof(T) << "-byte elements, n " << n;
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

// Nearest integer with ties up, of the single-precision sum v + 0.5; NaN is 0.
template <class T>
T halfUpModel(float v) {
    const float s = v + 0.5f;
    if (std::isnan(s)) return 0;
    const double top = std::numeric_limits<T>::max();
    const double f = std::floor(double(s));
    return static_cast<T>(f < 0 ? 0 : f > top ? top : f);
}

TEST(Simd, RoundHalfUpSaturatesAndStoresOnlyItsLanes) {
    std::mt19937 rng(16);
    const float specials[] = {0.5f,      1.5f,     2.5f,  -0.5f,    -0.49999997f, 0.49999997f, 254.5f,
                              255.5f,    256.f,    -1.0f, 65534.5f, 65535.5f,     65536.0f,    1e10f,
                              -INFINITY, INFINITY, NAN,   -0.0f,    127.49f,      3.0e38f};
    auto value = [&] {
        return rng() % 2 ? specials[rng() % std::size(specials)]
                         : std::uniform_real_distribution<float>(-300.0f, 70000.0f)(rng);
    };
    forTypes<uint8_t, uint16_t, float>([&]<class T>() {
        for (int n = 1; n <= 16; ++n)
            for (int pad = 0; pad < 3; ++pad) {
                Lanes<float> v;
                for (float& x : v) x = value();
                Guarded<T> g(rng, n, pad);
                if (n == 16)
                    storeRoundHalfUp(g.data(), vecOf<float>(v));
                else
                    storeRoundHalfUp(g.data(), vecOf<float>(v), firstLanes<16>(n));
                EXPECT_TRUE(g.guardsKept()) << n;
                for (int i = 0; i < n; ++i) {
                    if constexpr (std::is_same_v<T, float>) {
                        EXPECT_TRUE(sameBits(g.data()[i], v[i]));
                    } else {
                        EXPECT_EQ(g.data()[i], halfUpModel<T>(v[i])) << v[i];
                        EXPECT_EQ(roundHalfUp<T>(v[i]), halfUpModel<T>(v[i])) << v[i];
                    }
                }
            }
    });
}

TEST(Simd, TruncationSaturatesAtTheTop) {
    const float values[] = {0.0f, 0.99f, 1.0f, 2147483520.0f, 2147483648.0f, 3e9f, INFINITY, NAN, 12345.6f};
    Lanes<float> v{};
    for (size_t i = 0; i < std::size(values); ++i) v[i] = values[i];
    const Lanes<int32_t> got = lanesOf<int32_t>(truncSaturated(vecOf<float>(v)));
    for (int i = 0; i < 16; ++i) {
        const int32_t want = std::isnan(v[i])       ? INT32_MIN
                             : v[i] >= 2147483648.0 ? INT32_MAX
                                                    : static_cast<int32_t>(std::trunc(double(v[i])));
        EXPECT_EQ(got[i], want) << v[i];
        EXPECT_EQ(truncSaturated(v[i]), want) << v[i];
    }
}

TEST(Simd, MinMaxAbsDiffAndComparesFollowTheScalarRules) {
    std::mt19937 rng(17);
    forTypes<uint8_t, uint16_t, int16_t, uint32_t, int32_t, float, double>([&]<class T>() {
        constexpr int E = kLanes<T>;
        for (int trial = 0; trial < 200; ++trial) {
            const Lanes<T> a = randomLanes<T>(rng), b = randomLanes<T>(rng), src = randomLanes<T>(rng);
            const uint64_t k = uint64_t{rng()} << 32 | rng();
            const Lanes<T> lo = lanesOf<T>(min<T>(vecOf<T>(a), vecOf<T>(b)));
            const Lanes<T> hi = lanesOf<T>(max<T>(vecOf<T>(a), vecOf<T>(b)));
            for (int i = 0; i < E; ++i) {
                // The instructions' rule: a when a < b (a > b), else b, so b when either is NaN.
                EXPECT_TRUE(sameBits(lo[i], a[i] < b[i] ? a[i] : b[i]));
                EXPECT_TRUE(sameBits(hi[i], a[i] > b[i] ? a[i] : b[i]));
            }
            if constexpr (isOneOf<T, uint8_t, uint16_t, uint32_t, int32_t, float>) {
                const auto m = static_cast<Mask<T>>(k);
                const Lanes<T> mlo = lanesOf<T>(min<T>(vecOf<T>(src), m, vecOf<T>(a), vecOf<T>(b)));
                const Lanes<T> mhi = lanesOf<T>(max<T>(vecOf<T>(src), m, vecOf<T>(a), vecOf<T>(b)));
                for (int i = 0; i < E; ++i) {
                    EXPECT_TRUE(sameBits(mlo[i], bit(k, i) ? lo[i] : src[i]));
                    EXPECT_TRUE(sameBits(mhi[i], bit(k, i) ? hi[i] : src[i]));
                }
            }
            if constexpr (isOneOf<T, uint8_t, uint16_t, int32_t, float>) {
                const uint64_t lt = less<T>(vecOf<T>(a), vecOf<T>(b)), gt = greater<T>(vecOf<T>(a), vecOf<T>(b));
                for (int i = 0; i < E; ++i) {
                    EXPECT_EQ(bit(lt, i), uint64_t{a[i] < b[i]});
                    EXPECT_EQ(bit(gt, i), uint64_t{a[i] > b[i]});
                }
            }
            if constexpr (isOneOf<T, uint8_t, uint16_t, float>) {
                const Lanes<T> d = lanesOf<T>(absDiff<T>(vecOf<T>(a), vecOf<T>(b)));
                for (int i = 0; i < E; ++i) {
                    const T want = std::is_floating_point_v<T> ? T(std::fabs(a[i] - b[i]))
                                                               : T(a[i] > b[i] ? a[i] - b[i] : b[i] - a[i]);
                    EXPECT_TRUE(sameBits(d[i], want) || (std::isnan(double(d[i])) && std::isnan(double(want))));
                }
            }
        }
    });
}

TEST(Simd, ReductionsCombineEveryLane) {
    std::mt19937 rng(18);
    forTypes<uint8_t, uint16_t, int16_t, uint32_t, int32_t>([&]<class T>() {
        for (int trial = 0; trial < 300; ++trial) {
            Lanes<T> a = randomLanes<T>(rng);
            if (trial % 3 == 0)  // the extreme in one lane only, at every position in turn
                for (T& x : a) x = T(x % 7 + 50);
            const int at = trial % kLanes<T>;
            if (trial % 3 == 0) a[at] = trial % 2 ? std::numeric_limits<T>::max() : std::numeric_limits<T>::min();
            T lo = a[0], hi = a[0];
            for (T x : a) lo = x < lo ? x : lo, hi = x > hi ? x : hi;
            EXPECT_EQ(reduceMin<T>(vecOf<T>(a)), lo);
            EXPECT_EQ(reduceMax<T>(vecOf<T>(a)), hi);
        }
    });
    for (int trial = 0; trial < 300; ++trial) {
        Lanes<float> f;
        for (float& x : f) x = std::uniform_real_distribution<float>(-1e6f, 1e6f)(rng);
        f[trial % 16] = trial % 2 ? 3e38f : -3e38f;
        EXPECT_EQ(reduceMin<float>(vecOf<float>(f)), *std::min_element(f.begin(), f.end()));
        EXPECT_EQ(reduceMax<float>(vecOf<float>(f)), *std::max_element(f.begin(), f.end()));

        // Doubles of far-apart magnitudes, so that the order of the additions shows.
        Lanes<double> d;
        for (double& x : d) x = std::ldexp(double(rng()) * (rng() % 2 ? 1 : -1), static_cast<int>(rng() % 120) - 60);
        const double want = ((d[0] + d[4]) + (d[2] + d[6])) + ((d[1] + d[5]) + (d[3] + d[7]));
        const double lane[8] = {d[0], d[1], d[2], d[3], d[4], d[5], d[6], d[7]};
        EXPECT_TRUE(sameBits(reduceAdd(vecOf<double>(d)), want));
        EXPECT_TRUE(sameBits(pairwiseSum(lane), want));

        Lanes<uint64_t> u;
        for (uint64_t& x : u) x = uint64_t{rng()} << 32 | rng();
        uint64_t wrapped = 0;
        unsigned __int128 exact = 0;
        for (uint64_t x : u) wrapped += x, exact += x;
        EXPECT_EQ(reduceAdd64(vecOf<uint64_t>(u)), wrapped);
        EXPECT_TRUE(reduceAddExact(vecOf<uint64_t>(u)) == exact);
    }
}

// Channel c of pixels in lane order: for every selected pixel x of the block,
// lane (C x + c) mod E holds element C x + c; lanes that hold none are 0.
TEST(ChannelLanes, GatherPlacesEachSelectedPixelInItsLane) {
    std::mt19937 rng(19);
    auto sweep = [&]<class T, int C>() {
        constexpr int E = kLanes<T>;
        for (int c = 0; c < C; ++c) {
            const ChannelLanes<T, C> ch(c);
            for (int n = 0; n <= E; ++n) {
                Guarded<T> g(rng, C * n, 0);  // the elements of n pixels, then the page ends
                for (int i = 0; i < C * n; ++i) g.data()[i] = zt::randomValue<T>(rng, true);
                const uint64_t pixels = firstLanes<E>(n) & (rng() % 4 ? uint64_t{rng()} << 32 | rng() : ~uint64_t{0});
                Lanes<T> want{};
                uint64_t wantLanes = 0;
                for (int x = 0; x < E; ++x)
                    if (bit(pixels, x)) {
                        const int e = C * x + c;
                        want[e % E] = g.data()[e];
                        wantLanes |= uint64_t{1} << (e % E);
                    }
                uint64_t lanes = 0;
                const Lanes<T> got = lanesOf<T>(ch.gather(g.data(), pixels, lanes));
                EXPECT_EQ(lanes, wantLanes) << C << " channels, channel " << c << ", n " << n;
                for (int l = 0; l < E; ++l) EXPECT_TRUE(sameBits(got[l], want[l])) << l;
                if (n == E && pixels == firstLanes<E>(E)) {
                    const Lanes<T> all = lanesOf<T>(ch.gatherAll(g.data()));
                    for (int l = 0; l < E; ++l) EXPECT_TRUE(sameBits(all[l], want[l])) << l;
                }
            }
        }
    };
    sweep.template operator()<uint8_t, 1>();
    sweep.template operator()<uint8_t, 3>();
    sweep.template operator()<uint16_t, 3>();
    sweep.template operator()<float, 1>();
    sweep.template operator()<float, 3>();
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
