// How an implementation is bound to its exported name.
//
// Each exported name is an entry stub that jumps through its slot of the
// export table to `<name>_impl`. The stubs, the table and the linker's export
// map are generated from src/core/exports.txt; an implementation file only
// defines the body:
//
//   ZEP_EXPORT(zepiAdd_8u32f_C1IR)(const uint8_t* pSrc, int srcStep, ...) { ... }
//
// The declaration taken from the public prototype makes any mismatch between
// the header and the definition a compile error.
#pragma once

#include <zepcv.h>

#define ZEP_EXPORT(name)                     \
    extern "C" decltype(::name) name##_impl; \
    extern "C" ZepStatus name##_impl

namespace zep {

// Which code computes a kernel's result. Exports run the vector path; the
// scalar path is each kernel's definition of its result, also used for the
// tail of every row.
enum class Path { scalar, vector };

}  // namespace zep
