// The generic tests every family's entries run; see registry.h.
#include "support/registry.h"

#include <gtest/gtest.h>

#include <deque>
#include <fstream>
#include <set>
#include <sstream>

namespace zt {

namespace {

std::vector<Entry>& entries() {
    static std::vector<Entry> all;
    return all;
}

std::vector<double> paramsFor(const Entry& e, std::mt19937& rng, ImageSize roi) {
    return e.params ? e.params(rng, roi) : std::vector<double>{};
}

// The exports of this program's family: those whose implementation lives in
// a file under src/<family>/.
std::vector<std::string> familyExports() {
    std::ifstream in(ZEPCV_EXPORT_LIST);
    std::vector<std::string> names;
    for (std::string line; std::getline(in, line);) {
        std::istringstream words(line);
        std::string name, file;
        if (words >> name >> file && name[0] != '#' && file.rfind(ZEPCV_TEST_FAMILY "/", 0) == 0)
            names.push_back(name);
    }
    return names;
}

// Sizes to agree at: widths around every block size at heights 1 and 3.
std::vector<ImageSize> sweepOf(const Entry& e) {
    if (!e.sizes.empty()) return e.sizes;
    std::vector<ImageSize> sizes;
    for (int w : sweepWidths())
        for (int h : {1, 3}) sizes.push_back({w, h});
    return sizes;
}

}  // namespace

bool enrol(std::vector<Entry> more, bool wild) {
    for (Entry& e : more) e.wild = e.wild && wild, entries().push_back(std::move(e));
    return true;
}

const std::vector<Entry>& registry() { return entries(); }

::testing::AssertionResult agreesWithModel(const Entry& e, const RoleImages& img) {
    std::vector<std::vector<uint8_t>> before;
    std::deque<Canvas> copies;
    CallArgs theirs = img.valid;
    for (size_t i = 0; i < e.args.size(); ++i) {
        before.push_back(img.canvases[i]->bytes());
        if (e.args[i].output) theirs.ptr[i] = copies.emplace_back(*img.canvases[i]).first();
    }
    const ZepStatus ours = e.call(img.valid), rule = e.model(theirs);
    if (ours != rule) return ::testing::AssertionFailure() << "status " << ours << ", the rule's " << rule;
    for (size_t i = 0, k = 0; i < e.args.size(); ++i) {
        const Canvas& c = *img.canvases[i];
        if (!e.args[i].output || ours < 0) {
            if (c.bytes() != before[i]) return ::testing::AssertionFailure() << "argument " << i << " changed";
            continue;
        }
        if (const int64_t at = firstGuardChange(c, before[i]); at >= 0)
            return ::testing::AssertionFailure() << "argument " << i << " changed outside its region at byte " << at;
        if (e.nans == NaNs::byClass && e.args[i].elemBytes == 4) canonicalizeNaNs(c), canonicalizeNaNs(copies[k]);
        if (e.nans == NaNs::byClass && e.args[i].bytes % 8 == 0 && e.args[i].bytes > 0)
            canonicalizeNaNs<double>(c), canonicalizeNaNs<double>(copies[k]);
        if (const int64_t at = firstDifference(c, copies[k++]); at >= 0)
            return ::testing::AssertionFailure() << "argument " << i << " differs from the rule at byte " << at;
    }
    return ::testing::AssertionSuccess();
}

namespace {

TEST(Registry, EveryExportOfTheFamilyHasAnEntry) {
    std::set<std::string> covered;
    for (const Entry& e : registry()) {
        covered.insert(e.name);
        covered.insert(e.covers.begin(), e.covers.end());
    }
    for (const std::string& name : familyExports()) EXPECT_TRUE(covered.count(name)) << name << " has no entry";
}

TEST(Registry, CheckOrderAndNothingWrittenOnError) {
    for (const Entry& e : registry()) {
        std::mt19937 rng(7);
        const ImageSize roi{6, 3};
        RoleImages img(e.args, roi, paramsFor(e, rng, roi));
        std::vector<Breaker> b = standardBreakers(e.args, roi);
        if (e.checks) e.checks(b);
        expectOrder(e.name, img.valid, e.call, b, img.canvases);
        if (HasFatalFailure()) return;
    }
}

TEST(Registry, AgreesWithTheModelAndTouchesOnlyItsOutputs) {
    for (const Entry& e : registry()) {
        std::mt19937 rng(20261125);
        for (const ImageSize roi : sweepOf(e)) {
            RoleImages img(e.args, roi, paramsFor(e, rng, roi), static_cast<uint32_t>(rng()));
            ASSERT_TRUE(agreesWithModel(e, img)) << e.name << " at " << roi.width << "x" << roi.height;
        }
    }
}

}  // namespace
}  // namespace zt
