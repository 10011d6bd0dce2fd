// Size queries of the pipeline and Gaussian filters at the edges of their
// outputs: each reports the documented formula, computed here in 128 bits,
// when it fits an int, and otherwise refuses with zepStsSizeOverflow and
// writes nothing; the initialisation and the operations refuse the same
// arguments the same way before they touch memory.
#include <gtest/gtest.h>
#include <zepcv.h>

#include <climits>
#include <cstdint>
#include <vector>

namespace {

using i128 = __int128;
constexpr int kUntouched = -12345;

// Widths, heights and kernel sizes: small, near the int32 limit, and values
// whose byte counts wrap in 32 bits.
const std::vector<int64_t> kEdges = {1,          2,          3,          13,       255,       65535,
                                     1 << 20,    22369621,   63161283,   89478485, 178956971, 357913941,
                                     1073741823, 1431655766, 2147483645, INT32_MAX};

// Every value in kEdges, and the last value whose formula fits an int and
// the first that does not (found on the model), with one below each.
template <class F>
std::vector<int64_t> probes(F model) {
    std::vector<int64_t> v(kEdges);
    int64_t lo = 1, hi = INT32_MAX;
    if (model(hi) > INT_MAX) {
        while (hi - lo > 1) (model((lo + hi) / 2) <= INT_MAX ? lo : hi) = (lo + hi) / 2;
        v.insert(v.end(), {lo - 1, lo, hi, hi + (hi < INT32_MAX)});
    }
    return v;
}

template <class Query, class F>
void expectQuery(const char* name, Query query, F model, bool ofWidth) {
    for (const int64_t v : probes(model)) {
        const int w = ofWidth ? int(v) : 9, k = ofWidth ? 5 : int(v);
        int size = kUntouched;
        const ZepStatus s = query(ImageSize{w, 3}, k, &size);
        const i128 want = model(v);
        if (want <= INT_MAX) {
            EXPECT_EQ(s, zepStsOk) << name << " " << v;
            EXPECT_EQ(size, int(want)) << name << " " << v;
        } else {
            EXPECT_EQ(s, zepStsSizeOverflow) << name << " " << v;
            EXPECT_EQ(size, kUntouched) << name << " " << v;
        }
    }
}

TEST(SizeLimits, PipelineQueriesReportTheFormulaOrRefuse) {
    auto row = [](i128 a, i128 b) { return [=](i128 k) { return a * k + b; }; };
    expectQuery(
        "row 8u16s C1", zepiFilterRowBorderPipelineGetBufferSize_8u16s_C1R,
        [](i128 k) { return 34 * k + 32 * (k / 4) + 66; }, false);
    expectQuery("row 8u16s C3", zepiFilterRowBorderPipelineGetBufferSize_8u16s_C3R, row(60, 144), false);
    expectQuery("row 16s C1", zepiFilterRowBorderPipelineGetBufferSize_16s_C1R, row(48, 112), false);
    expectQuery("row 16s C3", zepiFilterRowBorderPipelineGetBufferSize_16s_C3R, row(40, 96), false);
    expectQuery("row Low C1", zepiFilterRowBorderPipelineGetBufferSize_Low_16s_C1R, row(24, 96), false);
    expectQuery("row Low C3", zepiFilterRowBorderPipelineGetBufferSize_Low_16s_C3R, row(208, 96), false);
    expectQuery("row 16u C1", zepiFilterRowBorderPipelineGetBufferSize_16u_C1R, row(64, 96), false);
    expectQuery("row 16u C3", zepiFilterRowBorderPipelineGetBufferSize_16u_C3R, row(128, 96), false);
    expectQuery("row 32f C1", zepiFilterRowBorderPipelineGetBufferSize_32f_C1R, row(96, 96), false);
    expectQuery("row 32f C3", zepiFilterRowBorderPipelineGetBufferSize_32f_C3R, row(288, 96), false);
    auto up = [](i128 v, i128 a) { return (v + a - 1) / a * a; };
    for (auto q : {zepiFilterColumnPipelineGetBufferSize_16s_C1R, zepiFilterColumnPipelineGetBufferSize_16s8u_C1R,
                   zepiFilterColumnPipelineGetBufferSize_16s8s_C1R})
        expectQuery(
            "column 16s C1", q, [&](i128 w) { return 12 * up(w, 4) + 64; }, true);
    for (auto q : {zepiFilterColumnPipelineGetBufferSize_16s_C3R, zepiFilterColumnPipelineGetBufferSize_16s8u_C3R,
                   zepiFilterColumnPipelineGetBufferSize_16s8s_C3R})
        expectQuery(
            "column 16s C3", q, [&](i128 w) { return 36 * up(w, 4) + 64; }, true);
    expectQuery(
        "column Low C1", zepiFilterColumnPipelineGetBufferSize_Low_16s_C1R,
        [&](i128 w) { return 12 * up(w, 8) + 64; }, true);
    expectQuery(
        "column Low C3", zepiFilterColumnPipelineGetBufferSize_Low_16s_C3R,
        [&](i128 w) { return 36 * up(w, 8) + 64; }, true);
    expectQuery(
        "column 16u C1", zepiFilterColumnPipelineGetBufferSize_16u_C1R,
        [&](i128 w) { return 8 * up(w, 4) + 32 * 5 + 64; }, true);
    expectQuery(
        "column 16u C1 k", zepiFilterColumnPipelineGetBufferSize_16u_C1R,
        [&](i128 k) { return 8 * up(9, 4) + 32 * k + 64; }, false);
    expectQuery(
        "column 16u C3", zepiFilterColumnPipelineGetBufferSize_16u_C3R,
        [&](i128 w) { return 8 * up(3 * w, 4) + 32 * 5 + 64; }, true);
    expectQuery(
        "column 32f", zepiFilterColumnPipelineGetBufferSize_32f_C3R, [](i128 k) { return 32 * k + 32; }, false);
}

// The passes refuse, after every other check, a kernel size (or width) whose
// buffer their query refuses; none of them touches memory then (the kernel
// and the rows here are far shorter than a pass would read).
TEST(SizeLimits, PassesRefuseWhatTheirQueriesRefuse) {
    const int k = 22369621;  // 96k + 96 passes INT32_MAX
    std::vector<float> row(64, 1.0f), kernel(4, 0.25f);
    float* rows[2] = {row.data(), row.data()};
    uint8_t buffer[64];
    EXPECT_EQ(zepiFilterRowBorderPipeline_32f_C1R(row.data(), 256, rows, {8, 1}, kernel.data(), k, 0, zepBorderRepl,
                                                  0.0f, buffer),
              zepStsSizeOverflow);
    EXPECT_EQ(zepiFilterRowBorderPipeline_32f_C1R(row.data(), 256, rows, {8, 1}, kernel.data(), k - 1, 0,
                                                  zepBorderRepl, 0.0f, nullptr),
              zepStsNullPointer);
    std::vector<int16_t> row16(64, 1), kernel16(4, 1);
    int16_t* rows16[2] = {row16.data(), row16.data()};
    EXPECT_EQ(zepiFilterRowBorderPipeline_Low_16s_C3R(row16.data(), 256, rows16, {8, 1}, kernel16.data(), 10324958, 0,
                                                      zepBorderRepl, row16.data(), 1, buffer),
              zepStsSizeOverflow);  // 208k + 96 passes INT32_MAX
    // Column: 36 * ((w + 3) & ~3) + 64 passes INT32_MAX from w = 59652322 on.
    std::vector<const int16_t*> sources(8, row16.data());
    EXPECT_EQ(zepiFilterColumnPipeline_16s_C3R(sources.data(), row16.data(), INT32_MAX - 1, {59652322, 1},
                                               kernel16.data(), 1, 1, buffer),
              zepStsSizeOverflow);
    EXPECT_EQ(zepiFilterColumnPipeline_16s_C3R(sources.data(), row16.data(), INT32_MAX - 1, {59652322, 1},
                                               kernel16.data(), 1, 0, buffer),
              zepStsBadArg);  // the divisor comes first
}

// The Gaussian spec and buffer sizes of the 32-bit functions.
i128 gaussianSpec(i128 k, int type) { return type == zep32f ? 32 * k + 32 : 16 * k + 36; }
i128 gaussianBuffer(i128 W, i128 H, i128 k, int type, i128 n) {
    const i128 h = H < k ? H : k, L = ((W + k) * n + 7) / 8 * 8;
    const bool c3 = n == 3;
    auto up4 = [](i128 v) { return (v + 3) / 4 * 4; };
    i128 R, C;
    if (type == zep8u) {
        R = c3 ? 60 * k + 144 : 34 * k + 32 * (k / 4) + 66;
        C = c3 ? 36 * up4(W) + 64 : 12 * up4(W) + 64;
    } else if (type == zep16s) {
        R = c3 ? 40 * k + 96 : 48 * k + 112;
        C = c3 ? 36 * up4(W) + 64 : 12 * up4(W) + 64;
    } else if (type == zep16u) {
        R = c3 ? 128 * k + 96 : 64 * k + 96;
        C = 8 * up4(c3 ? 3 * W : W) + 32 * k + 64;
    } else {
        R = c3 ? 288 * k + 96 : 96 * k + 96;
        C = 32 * k + 32;
    }
    if (type == zep32f) return 4 * k * L + 32 + 4 * L * (h + k) + 64 + R + 32 + C + 32 + 8 * (h + k) + 32;
    return 2 * L * (h + k) + 64 + 2 * (2 * L * (k / 2) + 16) + R + 32 + C + 32 + 8 * (H + k) + 32;
}

TEST(SizeLimits, GaussianSizesReportTheFormulaOrRefuseAndInitAgrees) {
    struct Case {
        int W, H;
        uint32_t k;
    };
    std::vector<Case> cases = {{1, 1, 3},           {1431655766, 2, 13}, {1, 1, 65535},      {1, 1, 4294967295u},
                               {1, 1, 134217727},   {INT32_MAX, 1, 3},   {1, INT32_MAX, 3},  {46341, 46341, 5},
                               {1000, 1000, 10001}, {16383, 2, 16383},   {3, 5, 2147483647u}};
    for (int w : {1, 1 << 12, 1 << 20, 1 << 25})
        for (uint32_t k : {3u, 255u, 4095u, 32767u, 1048575u}) cases.push_back({w, 7, k});
    std::vector<uint8_t> specMemory(4096, 0xab), scratch(64);
    for (const Case& c : cases)
        for (int type : {zep8u, zep16u, zep16s, zep32f})
            for (int n : {1, 3}) {
                int spec = kUntouched, buffer = kUntouched;
                const ZepStatus s = zepiFilterGaussianGetBufferSize({c.W, c.H}, c.k, type, n, &spec, &buffer);
                const i128 wantSpec = gaussianSpec(c.k, type), wantBuffer = gaussianBuffer(c.W, c.H, c.k, type, n);
                const bool fits = wantSpec <= INT_MAX && wantBuffer <= INT_MAX;
                SCOPED_TRACE(::testing::Message()
                             << c.W << "x" << c.H << " k " << c.k << " type " << type << " C" << n);
                if (fits) {
                    EXPECT_EQ(s, zepStsOk);
                    EXPECT_EQ(spec, int(wantSpec));
                    EXPECT_EQ(buffer, int(wantBuffer));
                } else {
                    EXPECT_EQ(s, zepStsSizeOverflow);
                    EXPECT_EQ(spec, kUntouched);
                    EXPECT_EQ(buffer, kUntouched);
                    // Init refuses the same arguments before it writes the spec.
                    auto* p = reinterpret_cast<FilterGaussianSpec*>(specMemory.data());
                    EXPECT_EQ(
                        zepiFilterGaussianInit({c.W, c.H}, c.k, 1.0f, zepBorderRepl, type, n, p, scratch.data()),
                        zepStsSizeOverflow);
                    EXPECT_EQ(specMemory[0], 0xab);
                }
            }
}

// A spec made for a small image, run on a wide one whose buffer size the
// query refuses: the filter refuses too, before it reads or writes a pixel.
TEST(SizeLimits, GaussianFiltersRefuseABufferTheQueryRefuses) {
    const uint32_t k = 8193;
    int specSize = 0, bufferSize = 0;
    ASSERT_EQ(zepiFilterGaussianGetBufferSize({1, 1}, k, zep16s, 1, &specSize, &bufferSize), zepStsOk);
    std::vector<uint8_t> spec(static_cast<size_t>(specSize)), buffer(static_cast<size_t>(bufferSize));
    auto* p = reinterpret_cast<FilterGaussianSpec*>(spec.data());
    ASSERT_EQ(zepiFilterGaussianInit({1, 1}, k, 2.0f, zepBorderRepl, zep16s, 1, p, buffer.data()), zepStsOk);
    ASSERT_GT(gaussianBuffer(200000, 200, k, zep16s, 1), INT_MAX);
    int16_t pixel = 0;
    EXPECT_EQ(zepiFilterGaussianBorder_16s_C1R(&pixel, 400000, &pixel, 400000, {200000, 200}, 0, p, buffer.data()),
              zepStsSizeOverflow);
    EXPECT_EQ(zepiFilterGaussianBorder_16s_C1R(&pixel, 400000, &pixel, 399998, {200000, 200}, 0, p, buffer.data()),
              zepStsBadStep);  // every other check comes first
    // The 64-bit family: a kernel whose buffer passes INT64_MAX.
    int64_t sizeL = -1;
    EXPECT_EQ(zepiFilterGaussianGetBufferSize_L({2000000000, 3}, 4294967295u, zep32f, 3, &sizeL), zepStsSizeOverflow);
    EXPECT_EQ(sizeL, -1);
    EXPECT_EQ(zepiFilterGaussianInit_L({2000000000, 3}, 4294967295u, 1.0f, zepBorderRepl, zep32f, 3, p),
              zepStsSizeOverflow);
    EXPECT_EQ(zepiFilterGaussianGetBufferSize_L({1, 1}, 3, zep8u, 1, &sizeL), zepStsOk);
    EXPECT_GT(sizeL, 0);
}

}  // namespace
