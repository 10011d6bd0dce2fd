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
// the library.
#pragma once

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "support/check_order.h"

namespace zt {

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
};

// Adds a family's entries; returns true so that it can initialise a constant.
bool enrol(std::vector<Entry> entries);
const std::vector<Entry>& registry();

// Runs the export on the images and the model on copies of its outputs: the
// two statuses must be the same; on success the outputs must agree byte for
// byte (NaNs by class if the entry says so) and nothing else may change; on
// an error nothing may change at all.
::testing::AssertionResult agreesWithModel(const Entry& e, const RoleImages& img);

}  // namespace zt
