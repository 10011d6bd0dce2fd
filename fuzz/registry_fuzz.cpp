// Random calls of every registry entry of one family, with the family's
// tests linked in for their entries. Each input chooses an entry, a ROI,
// random images (steps, misalignments and contents; every image and block
// between two inaccessible pages, buffers exactly as large as their queries
// say) and one of three kinds of call:
//   - valid: the export and its model must return the same status and agree
//     on every output byte, and nothing else may change;
//   - broken: one or two arguments spoiled as the check order describes; the
//     status must be that of the argument checked first, nothing written;
//   - wild: parameters replaced by extreme values; any status will do, but an
//     error must leave every byte as it was.
// Entries without images (size queries) are called with sizes anywhere in the
// 31-bit range. Reads or writes outside the memory given fault on a guard page
// or are reported by the address sanitizer.
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "support/registry.h"

namespace {

class Choices {
public:
    Choices(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    uint32_t bits32() {
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i) v = v << 8 | (at_ < size_ ? data_[at_++] : 0);
        return v;
    }
    uint32_t below(size_t n) { return static_cast<uint32_t>(bits32() % n); }
    // A side: mostly small, now and then at a vector boundary.
    int side(int most) {
        static const int edges[] = {1, 2, 15, 16, 17, 31, 32, 33, 63, 64, 65, 127, 128, 129};
        return below(2) ? edges[below(14)] : 1 + static_cast<int>(below(size_t(most)));
    }

private:
    const uint8_t* data_;
    size_t size_, at_ = 0;
};

[[noreturn]] void finding(const zt::Entry& e, ImageSize roi, const std::string& what) {
    std::fprintf(stderr, "finding: %s at %dx%d: %s\n", e.name.c_str(), roi.width, roi.height, what.c_str());
    std::abort();
}

bool hasImages(const zt::Entry& e) {
    for (const zt::ImageRole& r : e.args)
        if (r.bytes == 0) return true;
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Choices in(data, size);
    const std::vector<zt::Entry>& entries = zt::registry();
    if (entries.empty()) return 0;
    const zt::Entry& e = entries[in.below(entries.size())];
    const uint32_t kind = e.wild ? in.below(8) : 0;
    ImageSize roi{in.side(300), in.side(40)};
    if (!hasImages(e) && in.below(2))  // 1 to INT32_MAX
        roi = {int(1 + in.bits32() % INT32_MAX), int(1 + in.bits32() % INT32_MAX)};
    if (!e.sizes.empty()) roi = e.sizes[in.below(e.sizes.size())];  // an entry's sizes are its valid ROIs
    std::mt19937 rng(in.bits32());
    std::vector<double> param = e.params ? e.params(rng, roi) : std::vector<double>{};
    if (kind == 7) {
        static const double wild[] = {0,         -1,    1,       2,   3,        255,       65536, INT32_MAX,
                                      INT32_MIN, 1e300, -1e-300, NAN, INFINITY, -INFINITY, 0.5,   -0.0};
        for (double& p : param)
            if (in.below(2)) p = wild[in.below(16)];
    }
    zt::RoleImages img(e.args, roi, param, in.bits32());
    if (kind < 4) {  // valid
        if (const ::testing::AssertionResult r = zt::agreesWithModel(e, img); !r) finding(e, roi, r.message());
        return 0;
    }
    std::vector<zt::Breaker> breakers = zt::standardBreakers(e.args, roi);
    if (e.checks) e.checks(breakers);
    zt::CallArgs a = img.valid;
    ZepStatus expected = 1;
    if (kind < 7 && !breakers.empty()) {
        const size_t i = in.below(breakers.size()), j = in.below(breakers.size());
        const bool pair = kind == 6 && breakers[j].field != breakers[i].field;
        if (pair) breakers[j].apply(a);
        breakers[i].apply(a);
        expected = breakers[pair ? std::min(i, j) : i].expected;
    }
    std::vector<std::vector<uint8_t>> before;
    for (const zt::Canvas* c : img.canvases) before.push_back(c->bytes());
    const ZepStatus got = e.call(a);
    if (expected != 1 && got != expected)
        finding(e, roi, "status " + std::to_string(got) + ", expected " + std::to_string(expected));
    if (got < 0)
        for (size_t k = 0; k < before.size(); ++k)
            if (img.canvases[k]->bytes() != before[k]) finding(e, roi, "wrote on error " + std::to_string(got));
    return 0;
}
