// The test registry: every export described once, by its arguments' roles,
// with its rule written out as a model in the test. The generic tests of
// registry.cpp run on every entry of a family:
//   - the check order: each argument broken alone and in pairs gives the
//     status of the one checked first, and no image changes on an error;
//   - agreement with the model over widths around every block size, heights
//     1 and 3, random steps and misalignments, float specials, with every
//     image between two inaccessible pages; bytes outside the outputs'
//     regions and all of the inputs must stay as they were;
//   - coverage: every export of the family is some entry's call or is made by
//     one (its size query or initialisation).
// A model is a direct loop over the documented rule; it shares no code with
// the library. fuzz/registry_fuzz.cpp calls the same entries at random.
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
// A parameter as T; integers saturate (NaN is 0), as wild values ask.
template <class T>
T parameterAs(double v) {
    if constexpr (std::is_integral_v<T>) {
        if (!(v == v)) return T(0);
        const double lo = double(std::numeric_limits<T>::min()), hi = double(std::numeric_limits<T>::max());
        return v <= lo ? std::numeric_limits<T>::min() : v >= hi ? std::numeric_limits<T>::max() : T(v);
    } else {
        return T(v);
    }
}

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
                       : T{parameterAs<int>(a.param[q++]), parameterAs<int>(a.param[q++])};
        else
            return step ? T(a.step[p - 1]) : parameterAs<T>(a.param[q++]);
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

// A breaker spoils one argument of a call; breakers are listed in the
// documented check order.
struct Breaker {
    std::string what;
    int field;  // breakers of the same field are not combined
    std::function<void(CallArgs&)> apply;
    ZepStatus expected;
};

// Pointer i of the call set to null.
inline Breaker nullBreaker(int i) {
    return {"null pointer " + std::to_string(i), i, [i](CallArgs& a) { a.ptr[i] = nullptr; }, zepStsNullPointer};
}

// Null pointers, then the ROI, then each step group: steps below the ROI's
// row (one element short, or negative), then steps one byte past the image's
// row (the ROI's and its margin), not a multiple of the element size.
inline std::vector<Breaker> standardBreakers(const std::vector<ImageRole>& roles, ImageSize roi) {
    std::vector<Breaker> b;
    const int n = static_cast<int>(roles.size());
    for (int i = 0; i < n; ++i) b.push_back(nullBreaker(i));
    b.push_back({"zero width", n, [](CallArgs& a) { a.roi.width = 0; }, zepStsBadSize});
    b.push_back({"negative height", n + 1, [](CallArgs& a) { a.roi.height = -1; }, zepStsBadSize});
    int groups = 0;
    for (const auto& r : roles) groups = std::max(groups, r.stepGroup + 1);
    for (int g = 0; g < groups; ++g)
        for (bool multiples : {false, true})
            for (int i = 0; i < n; ++i) {
                const int e = roles[i].elemBytes, row = roi.width * roles[i].channels * e;
                if (roles[i].stepGroup != g || (multiples && e == 1)) continue;
                auto set = [i](int v) { return [i, v](CallArgs& a) { a.step[i] = v; }; };
                const std::string at = " step " + std::to_string(i);
                if (multiples) {
                    b.push_back({"odd" + at, 100 + i, set(row + roles[i].margin * roles[i].channels * e + 1),
                                 zepStsStepNotMultiple});
                } else {
                    b.push_back({"short" + at, 100 + i, set(row - e), zepStsBadStep});
                    b.push_back({"negative" + at, 100 + i, set(-row), zepStsBadStep});
                }
            }
    return b;
}

// Runs the valid call once (it must not fail), then every breaker alone and
// every pair of breakers: each must return the status of the breaker listed
// first, and the canvases in `watched` must stay byte-identical throughout.
template <class Call>
void expectOrder(const std::string& name, const CallArgs& valid, const Call& call,
                 const std::vector<Breaker>& breakers, const std::vector<const Canvas*>& watched) {
    ASSERT_GE(call(valid), zepStsOk) << name << ": the valid call fails";
    std::vector<std::vector<uint8_t>> before;
    for (const Canvas* c : watched) before.push_back(c->bytes());
    auto untouched = [&] {
        for (size_t k = 0; k < watched.size(); ++k)
            if (watched[k]->bytes() != before[k]) return false;
        return true;
    };
    for (size_t i = 0; i < breakers.size(); ++i)
        for (size_t j = i; j < breakers.size(); ++j) {
            if (j > i && breakers[j].field == breakers[i].field) continue;
            CallArgs a = valid;
            breakers[j].apply(a);
            if (j > i) breakers[i].apply(a);
            const std::string what = breakers[i].what + (j > i ? " with " + breakers[j].what : "");
            EXPECT_EQ(call(a), breakers[i].expected) << name << ": " << what;
            ASSERT_TRUE(untouched()) << name << ": " << what << " wrote output";
        }
}

// Guarded images of random contents for `roles` at `roi` (steps and
// misalignment kept to each element size; masks in a random density, other
// images random or, one seed in three, of few distinct values), and the
// valid call on them.
struct RoleImages {
    std::deque<Canvas> canvasStore;
    CallArgs valid;
    std::vector<const Canvas*> canvases;
    RoleImages(const std::vector<ImageRole>& roles, ImageSize roi, std::vector<double> param = {}, uint32_t seed = 1)
        : valid{{}, {}, roi, std::move(param)} {
        std::mt19937 rng(seed);
        for (const ImageRole& r : roles) {
            const bool block = r.bytes > 0;
            const Canvas& c = block ? canvasStore.emplace_back(randomCanvas(rng, r.bytes, 1, 8))
                                    : canvasStore.emplace_back(
                                          randomCanvas(rng, int64_t{roi.width + r.margin} * r.elemBytes * r.channels,
                                                       roi.height + r.margin, r.elemBytes));
            if (r.mask)
                fillMask(rng, c);
            else if (!block)
                fillValues(rng, c, r.elemBytes, seed % 3 == 2);
            valid.ptr.push_back(c.first());
            valid.step.push_back(block ? kNoStep : int(c.step()));
            canvases.push_back(&c);
        }
    }
};

// Row y of argument i as elements of T.
template <class T>
T* rowOf(const CallArgs& a, int i, int y) {
    return reinterpret_cast<T*>(static_cast<uint8_t*>(a.ptr[size_t(i)]) + int64_t{y} * a.step[size_t(i)]);
}

// Where the model and the export may differ only in which NaN they return.
enum class NaNs { exact, byClass };

struct Entry {
    std::string name;             // the export the call makes
    std::vector<ImageRole> args;  // its images and blocks, in argument order
    Caller call;                  // the export on a CallArgs (zt::callWith<F>, or an adapter)
    Caller model;                 // the rule, on the same arguments
    // Valid parameters for a call at `roi`; the same for every call if empty.
    std::function<std::vector<double>(std::mt19937&, ImageSize)> params = {};
    // The standard breakers adjusted for what else the export checks.
    std::function<void(std::vector<Breaker>&)> checks = {};
    std::vector<std::string> covers = {};  // other exports the call makes
    NaNs nans = NaNs::byClass;
    std::vector<ImageSize> sizes = {};  // sizes to agree at, instead of the sweep
    bool wild = true;                   // whether the fuzzer may break the call and pass any parameter
};

// Adds a family's entries; returns true so that it can initialise a constant.
// wild false: the fuzzer makes valid calls only (the check order is then
// tested at the registry test's size), where the adapters derive the sizes
// they pass from the ROI and the parameters.
bool enrol(std::vector<Entry> entries, bool wild = true);
const std::vector<Entry>& registry();

// Runs the export on the images and the model on copies of its outputs: the
// two statuses must be the same; on success the outputs must agree byte for
// byte (NaNs by class if the entry says so) and nothing else may change; on
// an error nothing may change at all.
::testing::AssertionResult agreesWithModel(const Entry& e, const RoleImages& img);

}  // namespace zt
