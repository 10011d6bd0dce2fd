// Shared pieces of the statistics tests: one argument set and one result
// record for every form, and the agreement sweep and check order every
// family runs.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <iomanip>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>

#include "support/check_order.h"

namespace zt {

// Every result a statistic may write; -7 marks one not written.
struct Results {
    double value[2] = {-7.0, -7.0};           // mean and deviation, or the norm
    float extreme[2] = {-7.0f, -7.0f};        // minimum and maximum
    ImagePoint at[2] = {{-7, -7}, {-7, -7}};  // their positions
};

// The full argument set of a statistic; each form reads what it has.
struct StatArgs {
    const void* src;
    int srcStep;
    const void* src2;  // norms of differences
    int src2Step;
    const uint8_t* mask;
    int maskStep;
    ImageSize roi;
    int coi;
    Results* out;
    unsigned nulls = 0;  // bit i: the form's i-th result pointer is passed as null

    template <class R>
    R* result(int i, R& r) const {
        return nulls >> i & 1 ? nullptr : &r;
    }
};

// Calls the export F (elements T, C channels) with the source (and the second
// source where `Two`), the mask where `Masked`, the ROI, the channel of
// interest where C is 3, and the results `out`.
template <auto F, class T, int C, bool Masked, bool Two = false, class... Out>
ZepStatus callForm(const StatArgs& a, Out... out) {
    auto roi = [&](auto... head) {
        if constexpr (C == 1)
            return F(head..., a.roi, out...);
        else
            return F(head..., a.roi, a.coi, out...);
    };
    auto mask = [&](auto... head) {
        if constexpr (Masked)
            return roi(head..., a.mask, a.maskStep);
        else
            return roi(head...);
    };
    if constexpr (Two)
        return mask(static_cast<const T*>(a.src), a.srcStep, static_cast<const T*>(a.src2), a.src2Step);
    else
        return mask(static_cast<const T*>(a.src), a.srcStep);
}

struct StatCase {
    std::string name;
    int elemBytes, channels;
    bool masked, twoSources;
    bool resultRequired;  // a null result pointer is an error
    ZepStatus (*exported)(const StatArgs&);
    ZepStatus (*scalar)(const StatArgs&);
};

// Bit-identical, or both NaN.
template <class F>
bool sameValue(F a, F b) {
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}

inline bool sameResults(const Results& a, const Results& b) {
    for (int i = 0; i < 2; ++i)
        if (!sameValue(a.value[i], b.value[i]) || !sameValue(a.extreme[i], b.extreme[i]) || a.at[i].x != b.at[i].x ||
            a.at[i].y != b.at[i].y)
            return false;
    return true;
}

// The results in words, each value exactly.
inline std::string show(const Results& r) {
    std::ostringstream s;
    s << std::setprecision(17);
    for (int i = 0; i < 2; ++i)
        s << r.value[i] << " " << r.extreme[i] << " (" << r.at[i].x << "," << r.at[i].y << ") ";
    return s.str();
}

// The case of a family with this name.
template <class Case>
const Case& named(const std::vector<Case>& cases, const std::string& name) {
    for (const Case& c : cases)
        if (c.name == name) return c;
    throw std::invalid_argument(name);
}

// One call of a case on `px` (converted to its element type) laid out `w` to a
// row (0: one row), every pixel selected unless `mask` is given; channel of
// interest 1; the call must return `status`.
inline Results once(const StatCase& c, const std::vector<float>& px, std::vector<uint8_t> mask = {}, int w = 0,
                    ZepStatus status = zepStsOk) {
    const int n = int(px.size()), width = w ? w : n;
    std::vector<uint8_t> bytes(px.size() * c.elemBytes);
    for (int i = 0; i < n; ++i) {
        if (c.elemBytes == 4) std::memcpy(&bytes[4 * i], &px[i], 4);
        if (c.elemBytes == 2) reinterpret_cast<uint16_t*>(bytes.data())[i] = uint16_t(px[i]);
        if (c.elemBytes == 1) bytes[i] = uint8_t(px[i]);
    }
    if (mask.empty()) mask.assign(px.size(), 1);
    Results r;
    EXPECT_EQ(c.exported(StatArgs(bytes.data(), width * c.elemBytes, nullptr, 0, mask.data(), width,
                                  {width, n / width}, 1, &r)),
              status)
        << c.name;
    return r;
}

// Every case against its scalar definition: the width sweep at heights 1 and
// 3, every mask density of the masked forms, each kind of source values (of
// floats only, where it makes a difference), and every channel of interest;
// the same status, the same results, and no byte of a source changed.
template <class Case>
void expectCasesAgree(const std::vector<Case>& cases, uint32_t seed, std::initializer_list<Values> kinds) {
    std::mt19937 rng(seed);
    for (const StatCase& c : cases)
        for (int w : sweepWidths())
            for (int h : {1, 3}) {
                const Image<uint8_t> a = makeSource(rng, c.elemBytes, c.channels, w, h, Values::random),
                                     b = makeSource(rng, c.elemBytes, c.channels, w, h, Values::random),
                                     m = makeMask(rng, w, h, Density::all);
                for (Density d : kDensities)
                    for (Values kind : kinds)
                        for (int coi = 1; coi <= c.channels; ++coi) {
                            const bool floatOnly = kind == Values::moderate || kind == Values::wide;
                            if ((!c.masked && d != Density::all) || (floatOnly && c.elemBytes != 4)) continue;
                            fillSource(rng, a, c.elemBytes, kind);
                            fillSource(rng, b, c.elemBytes, kind);
                            fillMask(rng, m, d);
                            const std::vector<uint8_t> before = a.canvas.bytes();
                            Results ours, def;
                            StatArgs args{a.data(), a.step(), b.data(), b.step(), m.data(),
                                          m.step(), {w, h},   coi,      &ours};
                            const ZepStatus s = c.exported(args);
                            args.out = &def;
                            ASSERT_EQ(s, c.scalar(args)) << c.name;
                            ASSERT_TRUE(sameResults(ours, def))
                                << c.name << " width " << w << " height " << h << " density " << int(d) << " values "
                                << int(kind) << " coi " << coi << ": " << show(ours) << "vs " << show(def);
                            ASSERT_EQ(a.canvas.bytes(), before) << c.name << " wrote its source";
                        }
            }
}

// The check order of every statistic: null sources (and mask), a null result
// where one is required, the ROI, the steps (the mask's in `maskGroup`), then
// the channel of interest. A failing call writes no result.
inline void expectStatOrder(const StatCase& c, int maskGroup = 0) {
    const ImageSize roi{5, 3};
    std::vector<ImageRole> roles = {{c.elemBytes, c.channels, 0}};
    if (c.twoSources) roles.push_back({c.elemBytes, c.channels, 0});
    if (c.masked) roles.push_back({1, 1, maskGroup});
    RoleImages img(roles, roi, {2.0, 0.0});
    Canvas out(sizeof(Results), 1, sizeof(Results), 0);
    new (out.first()) Results;
    std::vector<Breaker> b = standardBreakers(roles, roi);
    if (c.resultRequired)
        b.insert(b.begin() + std::ssize(roles),
                 {"null result", 50, [](CallArgs& a) { a.param[1] = 1.0; }, zepStsNullPointer});
    if (c.channels == 3) {
        b.push_back({"channel 0", 60, [](CallArgs& a) { a.param[0] = 0.0; }, zepStsBadChannelOfInterest});
        b.push_back({"channel 4", 60, [](CallArgs& a) { a.param[0] = 4.0; }, zepStsBadChannelOfInterest});
    }
    img.canvases.push_back(&out);
    expectOrder(
        c.name, img.valid,
        [&](const CallArgs& v) {
            const size_t two = c.twoSources ? 1 : 0, m = v.ptr.size() - 1;
            const auto* mask = c.masked ? static_cast<const uint8_t*>(v.ptr[m]) : nullptr;
            return c.exported(StatArgs(v.ptr[0], v.step[0], v.ptr[two], v.step[two], mask, c.masked ? v.step[m] : 0,
                                       v.roi, int(v.param[0]), reinterpret_cast<Results*>(out.first()),
                                       unsigned(v.param[1])));
        },
        b, img.canvases);
}

}  // namespace zt
