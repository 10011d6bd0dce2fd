// The version record: one constant instance beside its strings.
#include "core/export.h"

#ifndef ZEP_REVISION
#define ZEP_REVISION 0
#endif
#ifndef ZEP_VARIANT_ISA
#define ZEP_VARIANT_ISA "AVX512F/AVX512CD/AVX512BW/AVX512DQ/AVX512VL"
#endif
#define ZEP_STRINGIFY2(x) #x
#define ZEP_STRINGIFY(x) ZEP_STRINGIFY2(x)

namespace {

constexpr LibraryVersion kVersion = {
    2017,
    0,
    3,
    ZEP_REVISION,
    {'q', '7', '\0', '\0'},
    "zepCV " ZEP_VARIANT_ISA " (q7)",
    "2017.0.3 (r" ZEP_STRINGIFY(ZEP_REVISION) ")",
    "Apr 12 2017",
};

const LibraryVersion* libraryVersion() { return &kVersion; }

}  // namespace

#include "bind/core/version.inc"
