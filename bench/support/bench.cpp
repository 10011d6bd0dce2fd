#include "support/bench.h"

#include <cstring>
#include <opencv2/core/utility.hpp>
#include <vector>

namespace zb {

namespace {

struct Size {
    int width, height;
};
// 127x61 is odd in both directions: every row of every type ends in a partial
// vector, and the job's bytes stay in cache.
constexpr Size kSizes[] = {{127, 61}, {640, 480}, {1920, 1080}, {3840, 2160}};

void tag(benchmark::State& state, int64_t bytes) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * bytes);
}

}  // namespace

cv::Mat randomMat(int height, int width, int type, double low, double high) {
    cv::Mat m(height, width, type);
    cv::randu(m, low, high);
    return m;
}

void registerExport(const std::string& name, JobMaker make) {
    for (const Size s : kSizes) {
        const std::string suffix = "/" + std::to_string(s.width) + "x" + std::to_string(s.height);
        benchmark::RegisterBenchmark((name + "/zep" + suffix).c_str(), [make, s](benchmark::State& state) {
            Job job = make(s.width, s.height);
            for (auto _ : state) job.ours();
            tag(state, job.bytesMoved);
        });
        benchmark::RegisterBenchmark((name + "/opencv" + suffix).c_str(), [make, s](benchmark::State& state) {
            Job job = make(s.width, s.height);
            if (!job.peer) {
                state.SkipWithError("no OpenCV equivalent");
                return;
            }
            for (auto _ : state) job.peer();
            tag(state, job.bytesMoved);
        });
        benchmark::RegisterBenchmark((name + "/memcpy" + suffix).c_str(), [make, s](benchmark::State& state) {
            const int64_t bytes = make(s.width, s.height).bytesMoved / 2;
            std::vector<uint8_t> from(static_cast<size_t>(bytes), 1), to(static_cast<size_t>(bytes), 2);
            for (auto _ : state) {
                std::memcpy(to.data(), from.data(), from.size());
                benchmark::ClobberMemory();
            }
            tag(state, 2 * bytes);
        });
    }
}

}  // namespace zb

int main(int argc, char** argv) {
    cv::setNumThreads(0);  // OpenCV single-threaded, like the library
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
