// The benchmark harness: every export is timed beside OpenCV doing the same
// job and beside memcpy of the same bytes, single-threaded, at four sizes.
// bench/report.py turns the results into docs/performance.md.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <opencv2/core.hpp>
#include <string>

namespace zb {

// One timed job at one size: our call, OpenCV's call (empty when OpenCV has no
// equivalent), and the bytes the job reads plus the bytes it writes. `keep`
// owns the buffers.
struct Job {
    std::function<void()> ours;
    std::function<void()> peer;
    int64_t bytesMoved = 0;
    std::shared_ptr<void> keep;
};

using JobMaker = std::function<Job(int width, int height)>;

// Registers "<name>/<impl>/<W>x<H>" for impl in zep, opencv, memcpy and the
// four sizes (127x61, 640x480, 1920x1080, 3840x2160). memcpy copies half the
// job's bytes, so that it reads and writes as many bytes as the job moves.
void registerExport(const std::string& name, JobMaker make);

// Runs `registrar` at static-initialisation time (one per bench file).
struct Registrar {
    explicit Registrar(void (*registrar)()) { registrar(); }
};

// Random image content of any OpenCV type.
cv::Mat randomMat(int height, int width, int type, double low = 0, double high = 256);

}  // namespace zb
