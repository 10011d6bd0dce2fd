// The emulation of AVX-512 on x86-64-v3 against the processor's own
// instructions: every intrinsic the kernels use, on random operands and on the
// values where implementations part ways (NaN of either sign, infinities,
// -0, halfway cases, integer and saturation limits), under every rounding
// mode; masked memory access at the edge of readable memory; and streaming
// stores that fault where the instruction does.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>
#include <xmmintrin.h>

#include <cctype>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <sstream>
#include <string>

#include "core/intrinsic_case.h"

namespace {

bool hasAvx512() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512cd") &&
           __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq") &&
           __builtin_cpu_supports("avx512vl");
}

#define REQUIRE_AVX512()                                                                         \
    if (!hasAvx512()) {                                                                          \
        GTEST_SKIP() << "this processor lacks AVX-512 F/CD/BW/DQ/VL: no native instructions to " \
                        "compare the emulation with";                                            \
    }

// Operand bytes: 32-bit, 64-bit or 16-bit lanes drawn half from the values
// where results differ between careless implementations, half at random.
void fillOperands(std::mt19937_64& rng, uint8_t* in, int flavour) {
    static const uint32_t f32[] = {0x7fc00000u, 0xffc00000u, 0x7f800001u, 0xff812345u, 0x7f800000u, 0xff800000u,
                                   0x00000000u, 0x80000000u, 0x00000001u, 0x807fffffu, 0x3f000000u, 0xbf000000u,
                                   0x3fc00000u, 0xc0200000u, 0x4f000000u, 0xcf000000u, 0x4effffffu, 0xcf000001u,
                                   0x3f800000u, 0x4b400001u, 0x7f7fffffu, 0x4b000000u, 0x40c00000u, 0xc0c00000u};
    static const uint64_t f64[] = {0x7ff8000000000000u, 0xfff8000000000000u, 0x7ff0000000000001u, 0x7ff0000000000000u,
                                   0xfff0000000000000u, 0x0000000000000000u, 0x8000000000000000u, 0x0000000000000001u,
                                   0x3fe0000000000000u, 0xbfe0000000000000u, 0x41dfffffffc00000u, 0xc1e0000000100000u,
                                   0x41e0000000000000u, 0x3ff8000000000000u, 0x47efffffe0000000u, 0x36a0000000000000u,
                                   0x4330000000000001u, 0x400c000000000000u};
    static const uint16_t i16[] = {0x0000, 0x0001, 0x007f, 0x0080, 0x00ff, 0x0100, 0x7fff,
                                   0x8000, 0x8001, 0xff7f, 0xff80, 0xffff, 0x7f00, 0x00fe};
    for (int i = 0; i < 192;) {
        const uint64_t r = rng();
        if (flavour == 0) {
            const uint32_t v = (r & 1) ? f32[(r >> 1) % std::size(f32)] : static_cast<uint32_t>(r >> 32);
            std::memcpy(in + i, &v, 4), i += 4;
        } else if (flavour == 1) {
            const uint64_t v = (r & 1) ? f64[(r >> 1) % std::size(f64)] : rng();
            std::memcpy(in + i, &v, 8), i += 8;
        } else {
            const uint16_t v = (r & 1) ? i16[(r >> 1) % std::size(i16)] : static_cast<uint16_t>(r >> 48);
            std::memcpy(in + i, &v, 2), i += 2;
        }
    }
    const uint64_t k[] = {rng(), 0, ~uint64_t{0}, rng() & rng(), uint64_t{1} << (rng() % 64)};
    const uint64_t mask = k[rng() % std::size(k)];
    std::memcpy(in + 192, &mask, 8);
    for (int i = 200; i < 256; ++i) in[i] = static_cast<uint8_t>(rng());
}

std::string hex(const uint8_t* p, int n) {
    std::ostringstream s;
    for (int i = 0; i < n; ++i)
        s << (i && i % 16 == 0 ? "\n  " : i % 4 == 0 ? " " : "") << std::hex << (p[i] >> 4) << (p[i] & 15);
    return s.str();
}

// Byte for byte; except that of two NaN operands of an addition,
// subtraction, multiplication or division, which one comes out quieted is the
// compiler's choice (it treats the operations as commutative and may swap
// their operands, in either build), so there any NaN matches any NaN.
bool sameResult(const std::string& name, const uint8_t* a, const uint8_t* b) {
    if (std::memcmp(a, b, 192) == 0) return true;
    bool arithmetic = false;
    for (const char* op : {"_add_p", "_sub_p", "_mul_p", "_div_p", "_fmadd_p", "_fnmadd_p"})
        arithmetic = arithmetic || name.find(op) == name.size() - std::strlen(op) - 1;
    if (!arithmetic) return false;
    const bool f64 = name.back() == 'd';
    for (int i = 0; i < 192; i += f64 ? 8 : 4) {
        if (std::memcmp(a + i, b + i, f64 ? 8 : 4) == 0) continue;
        double x, y;
        if (f64) {
            std::memcpy(&x, a + i, 8), std::memcpy(&y, b + i, 8);
        } else {
            float fx, fy;
            std::memcpy(&fx, a + i, 4), std::memcpy(&fy, b + i, 4);
            x = fx, y = fy;
        }
        if (!(std::isnan(x) && std::isnan(y))) return false;
    }
    return true;
}

TEST(Emulation, EveryIntrinsicAgreesWithTheNativeInstruction) {
    REQUIRE_AVX512();
    const IntrinsicTables native = nativeIntrinsics(), emulated = emulatedIntrinsics();
    ASSERT_EQ(native.caseCount, emulated.caseCount);
    const unsigned modes[] = {_MM_ROUND_NEAREST, _MM_ROUND_DOWN, _MM_ROUND_UP, _MM_ROUND_TOWARD_ZERO};
    const unsigned saved = _mm_getcsr();
    std::mt19937_64 rng(20261125);
    alignas(64) uint8_t in[256], outNative[192], outEmulated[192];
    for (size_t c = 0; c < native.caseCount; ++c) {
        ASSERT_STREQ(native.cases[c].name, emulated.cases[c].name);
        int failures = 0;
        for (int trial = 0; trial < 600 && failures == 0; ++trial) {
            fillOperands(rng, in, trial % 3);
            const unsigned mode = modes[(trial / 3) % 4];
            std::memset(outNative, 0xcd, sizeof outNative);
            std::memset(outEmulated, 0xcd, sizeof outEmulated);
            _mm_setcsr((saved & ~_MM_ROUND_MASK) | mode);
            native.cases[c].run(in, outNative);
            emulated.cases[c].run(in, outEmulated);
            _mm_setcsr(saved);
            if (!sameResult(native.cases[c].name, outNative, outEmulated)) {
                ++failures;
                ADD_FAILURE() << native.cases[c].name << " (rounding " << (mode >> 13) << ")\noperands:\n  "
                              << hex(in, 200) << "\nnative:\n  " << hex(outNative, 192) << "\nemulated:\n  "
                              << hex(outEmulated, 192);
            }
        }
    }
}

// Each intrinsic that a kernel names has a case above, so that a kernel cannot
// start using one whose emulation nobody compared.
TEST(Emulation, EveryIntrinsicTheKernelsUseHasACase) {
    std::set<std::string> cased;
    const IntrinsicTables t = emulatedIntrinsics();
    for (size_t c = 0; c < t.caseCount; ++c)
        cased.insert(std::string(t.cases[c].name).substr(0, std::string(t.cases[c].name).find(' ')));
    std::set<std::string> missing;
    for (const auto& e : std::filesystem::recursive_directory_iterator(ZEPCV_SOURCE_DIR "/src")) {
        if (!e.is_regular_file() || e.path().filename() == "avx512_shim.h") continue;
        std::ifstream f(e.path());
        const std::string text((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
        // Intrinsic names: _mm_, _mm256_ or _mm512_ and lower-case letters, digits and underscores.
        for (size_t at = text.find("_mm"); at != std::string::npos; at = text.find("_mm", at + 1)) {
            size_t end = at + 3;
            while (end < text.size() && (std::islower(static_cast<unsigned char>(text[end])) ||
                                         std::isdigit(static_cast<unsigned char>(text[end])) || text[end] == '_'))
                ++end;
            const std::string name = text.substr(at, end - at);
            const bool intrinsic =
                name.rfind("_mm_", 0) == 0 || name.rfind("_mm256_", 0) == 0 || name.rfind("_mm512_", 0) == 0;
            if (intrinsic && (at == 0 || !std::isalnum(static_cast<unsigned char>(text[at - 1]))) &&
                !cased.count(name))
                missing.insert(name + " (" + e.path().filename().string() + ")");
        }
    }
    for (const std::string& m : missing) ADD_FAILURE() << "no case for " << m;
}

// A masked load or store touches no byte of a masked-off lane: the selected
// lanes end exactly at an inaccessible page.
void runAtPageEnd(const MaskedAccessCase& c, const char* build) {
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    auto* region =
        static_cast<uint8_t*>(mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(region, MAP_FAILED);
    ASSERT_EQ(mprotect(region + page, page, PROT_NONE), 0);
    for (int n = 0; n <= c.lanes; ++n) {
        uint8_t* mem = region + page - static_cast<size_t>(n * c.laneSize);
        std::memset(region, 0x5a, page);
        alignas(64) uint8_t result[64];
        std::memset(result, 0x11, sizeof result);
        const uint64_t k = n >= 64 ? ~uint64_t{0} : (uint64_t{1} << n) - 1;
        c.run(mem, k, result);  // a fault here ends the test program
        SCOPED_TRACE(std::string(build) + " " + c.name + ", lanes " + std::to_string(n));
        for (int i = 0; i < n * c.laneSize; ++i) ASSERT_TRUE(mem[i] == 0x5a || mem[i] == 0x11 || mem[i] == 0xff);
    }
    munmap(region, 2 * page);
}

TEST(Emulation, MaskedAccessStopsAtTheLastSelectedLane) {
    const IntrinsicTables emulated = emulatedIntrinsics();
    for (size_t c = 0; c < emulated.maskedCount; ++c) runAtPageEnd(emulated.masked[c], "emulated");
    if (!hasAvx512()) return;
    const IntrinsicTables native = nativeIntrinsics();
    for (size_t c = 0; c < native.maskedCount; ++c) runAtPageEnd(native.masked[c], "native");
}

TEST(EmulationDeathTest, StreamingStoreFaultsOffA64ByteBoundary) {
    alignas(64) static uint8_t target[192];
    emulatedIntrinsics().streamTo(target + 64);
    EXPECT_DEATH(emulatedIntrinsics().streamTo(target + 32), "");
    if (hasAvx512()) {
        EXPECT_DEATH(nativeIntrinsics().streamTo(target + 32), "");
    }
}

}  // namespace
