// A table-driven check of the argument-check order. A call is described by
// its images (element size, channels, step group) and optional extra
// parameters; breakers spoil one argument each, listed in the documented
// check order. Every breaker alone must give its status, every pair of
// breakers must give the status of the one checked first, and no failing call
// may write a byte of any image.
#pragma once

#include <gtest/gtest.h>
#include <zepcv.h>

#include <deque>
#include <functional>
#include <random>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/image.h"

namespace zt {

// The arguments of a call under test, images and blocks in argument order;
// step[i] is pointer i's row step, kNoStep for a block passed without one.
inline constexpr int kNoStep = INT32_MIN;
struct CallArgs {
    std::vector<void*> ptr;
    std::vector<int> step;
    ImageSize roi{};
    std::vector<double> param;  // operation parameters, as the call's adapter reads them
};

using Caller = std::function<ZepStatus(const CallArgs&)>;

// Calls F with its arguments taken in order from `a`: a pointer parameter the
// next pointer, an int right after a pointer that pointer's step (unless it
// has none), the first ImageSize (or ImageSizeL) the ROI, a later ImageSize or
// an ImagePoint the next two parameters, any other the next parameter.
template <auto F>
ZepStatus callWith(const CallArgs& a) {
    size_t p = 0, q = 0;
    bool afterPointer = false, roiTaken = false;
    auto next = [&]<class T>(std::type_identity<T>) -> T {
        const bool step = std::exchange(afterPointer, std::is_pointer_v<T>) && std::is_same_v<T, int> &&
                          p - 1 < a.step.size() && a.step[p - 1] != kNoStep;
        if constexpr (std::is_pointer_v<T>)
            return static_cast<T>(a.ptr[p++]);
        else if constexpr (std::is_same_v<T, ImageSize> || std::is_same_v<T, ImageSizeL> ||
                           std::is_same_v<T, ImagePoint>)
            return !std::is_same_v<T, ImagePoint> && !std::exchange(roiTaken, true)
                       ? T{a.roi.width, a.roi.height}
                       : T{int(a.param[q++]), int(a.param[q++])};
        else
            return step ? T(a.step[p - 1]) : T(a.param[q++]);
    };
    return [&]<class... P>(ZepStatus (*)(P...)) {
        return std::apply(F, std::tuple<P...>{next(std::type_identity<P>{})...});
    }(F);
}

// An image argument: element size, channels, and its step group (the groups
// are checked one after another, each for step sizes first, then for
// multiples). An image with a margin is that many pixels wider and taller
// than the ROI. A block (bytes > 0) is memory of that many bytes passed
// without a step: a result, a spec or a buffer. Outputs are written by the
// call; masks hold zeros and nonzeros in random densities.
struct ImageRole {
    int elemBytes;
    int channels;
    int stepGroup;
    int margin = 0;
    bool output = false;
    int bytes = 0;
    bool mask = false;
};

inline ImageRole input(int elemBytes, int channels = 1, int group = 0) { return {elemBytes, channels, group}; }
inline ImageRole output(int elemBytes, int channels = 1, int group = 1) {
    return {elemBytes, channels, group, 0, true};
}
inline ImageRole maskOf(int group) { return {1, 1, group, 0, false, 0, true}; }
inline ImageRole result(int bytes) { return {1, 1, -1, 0, true, bytes}; }

// A breaker spoils one argument of a call described by Args.
template <class Args>
struct BreakerOf {
    std::string what;
    int field;  // breakers of the same field are not combined
    std::function<void(Args&)> apply;
    ZepStatus expected;
};

using Breaker = BreakerOf<CallArgs>;

// Pointer i of the call set to null.
inline Breaker nullBreaker(int i) {
    return {"null pointer " + std::to_string(i), i, [i](CallArgs& a) { a.ptr[i] = nullptr; }, zepStsNullPointer};
}

// Null pointers, then the ROI, then each step group (sizes, then multiples).
inline std::vector<Breaker> standardBreakers(const std::vector<ImageRole>& roles, ImageSize roi) {
    std::vector<Breaker> b;
    const int n = static_cast<int>(roles.size());
    for (int i = 0; i < n; ++i) b.push_back(nullBreaker(i));
    b.push_back({"zero width", n, [](CallArgs& a) { a.roi.width = 0; }, zepStsBadSize});
    b.push_back({"negative height", n + 1, [](CallArgs& a) { a.roi.height = -1; }, zepStsBadSize});
    int groups = 0;
    for (const auto& r : roles) groups = std::max(groups, r.stepGroup + 1);
    for (int g = 0; g < groups; ++g) {
        for (int i = 0; i < n; ++i) {
            if (roles[i].stepGroup != g) continue;
            const int row = (roi.width + roles[i].margin) * roles[i].channels * roles[i].elemBytes;
            b.push_back({"short step " + std::to_string(i), 100 + i,
                         [i, row, e = roles[i].elemBytes](CallArgs& a) { a.step[i] = row - e; }, zepStsBadStep});
            b.push_back({"negative step " + std::to_string(i), 100 + i, [i, row](CallArgs& a) { a.step[i] = -row; },
                         zepStsBadStep});
        }
        for (int i = 0; i < n; ++i) {
            if (roles[i].stepGroup != g || roles[i].elemBytes == 1) continue;
            const int row = (roi.width + roles[i].margin) * roles[i].channels * roles[i].elemBytes;
            b.push_back({"odd step " + std::to_string(i), 100 + i, [i, row](CallArgs& a) { a.step[i] = row + 1; },
                         zepStsStepNotMultiple});
        }
    }
    return b;
}

// Runs the valid call once (it must not fail), then every breaker alone and
// every pair of breakers; the canvases in `watched` must stay byte-identical
// through every failing call.
template <class Args, class Call>
void expectOrder(const std::string& name, const Args& valid, const Call& call,
                 const std::vector<BreakerOf<Args>>& breakers, const std::vector<const Canvas*>& watched) {
    {
        Args a = valid;
        ASSERT_GE(call(a), zepStsOk) << name << ": the valid call fails";
    }
    std::vector<std::vector<uint8_t>> before;
    for (const Canvas* c : watched) before.push_back(c->bytes());
    auto untouched = [&] {
        for (size_t k = 0; k < watched.size(); ++k)
            if (watched[k]->bytes() != before[k]) return false;
        return true;
    };
    for (size_t i = 0; i < breakers.size(); ++i) {
        Args a = valid;
        breakers[i].apply(a);
        EXPECT_EQ(call(a), breakers[i].expected) << name << ": " << breakers[i].what;
        ASSERT_TRUE(untouched()) << name << ": " << breakers[i].what << " wrote output";
        for (size_t j = i + 1; j < breakers.size(); ++j) {
            if (breakers[j].field == breakers[i].field) continue;
            Args ab = valid;
            breakers[j].apply(ab);
            breakers[i].apply(ab);
            EXPECT_EQ(call(ab), breakers[i].expected)
                << name << ": " << breakers[i].what << " with " << breakers[j].what;
            ASSERT_TRUE(untouched()) << name << ": " << breakers[i].what << " with " << breakers[j].what;
        }
    }
}

// Guarded images of random contents for `roles` at `roi` (steps and
// misalignment kept to each element size; floats with specials, masks in a
// random density), and the valid call on them.
struct RoleImages {
    std::deque<Image<uint8_t>> images;
    CallArgs valid;
    std::vector<const Canvas*> canvases;
    RoleImages(const std::vector<ImageRole>& roles, ImageSize roi, std::vector<double> param = {}, uint32_t seed = 1)
        : valid{{}, {}, roi, std::move(param)} {
        std::mt19937 rng(seed);
        for (const ImageRole& r : roles) {
            const bool block = r.bytes > 0;
            const auto& img = block ? images.emplace_back(rng, r.bytes, 1, 1, false, 8)
                                    : images.emplace_back(rng, (roi.width + r.margin) * r.elemBytes * r.channels,
                                                          roi.height + r.margin, 1, false, r.elemBytes);
            if (r.mask)
                fillMask(rng, img, kDensities[rng() % 5]);
            else if (!block)  // now and then few distinct values, so that specials and ties meet
                fillSource(rng, img, r.elemBytes, seed % 3 == 2 ? Values::ties : Values::random);
            valid.ptr.push_back(img.data());
            valid.step.push_back(block ? kNoStep : img.step());
            canvases.push_back(&img.canvas);
        }
    }
};

// The driver on such images with the standard breakers, which `adjust` may
// change for what else the call checks; no image may change on an error.
inline void expectRoleOrder(const std::string& name, const std::vector<ImageRole>& roles, ImageSize roi,
                            const Caller& call, const std::function<void(std::vector<Breaker>&)>& adjust = {},
                            std::vector<double> param = {}) {
    RoleImages img(roles, roi, std::move(param));
    std::vector<Breaker> b = standardBreakers(roles, roi);
    if (adjust) adjust(b);
    expectOrder(name, img.valid, call, b, img.canvases);
}

}  // namespace zt
