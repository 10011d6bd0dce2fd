// The generic tests every family's entries run; see registry.h.
#include "support/registry.h"

#include <gtest/gtest.h>

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

bool enrol(std::vector<Entry> more) {
    for (Entry& e : more) entries().push_back(std::move(e));
    return true;
}

const std::vector<Entry>& registry() { return entries(); }

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
            const std::vector<double> param = paramsFor(e, rng, roi);
            RoleImages img(e.args, roi, param, static_cast<uint32_t>(rng()));
            std::vector<const Canvas*> outs, ins;
            std::vector<size_t> outAt;
            for (size_t i = 0; i < e.args.size(); ++i)
                (e.args[i].output ? outs : ins).push_back(img.canvases[i]),
                    e.args[i].output ? outAt.push_back(i) : void();
            std::vector<std::vector<uint8_t>> inputs;
            for (const Canvas* c : ins) inputs.push_back(c->bytes());
            auto on = [&](const Caller& f) {
                return [&, f](uint8_t* const* o) {
                    CallArgs a = img.valid;
                    for (size_t k = 0; k < outAt.size(); ++k) a.ptr[outAt[k]] = o[k];
                    return f(a);
                };
            };
            ASSERT_TRUE(agreeOn(outs, on(e.call), on(e.model), e.nans == NaNs::byClass))
                << e.name << " at " << roi.width << "x" << roi.height;
            for (size_t k = 0; k < ins.size(); ++k)
                ASSERT_EQ(ins[k]->bytes(), inputs[k])
                    << e.name << " changed an input at " << roi.width << "x" << roi.height;
        }
    }
}

}  // namespace
}  // namespace zt
