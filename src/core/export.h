// How an implementation is bound to its exported name.
//
// Each exported name is an entry stub that jumps through its slot of the
// export table to `<name>_impl`. src/core/exports.txt names, for each export,
// the family file and the family entry that implements it; the stubs, the
// table, the linker's export map and `<name>_impl` (declared with the public
// prototype's type, so that a mismatch with the header is a compile error, and
// calling the entry with the export's arguments) are generated from that list
// (cmake/bind_exports.py) into bind/<family>.inc, which the family file
// includes at its end.
#pragma once

#include <zepcv.h>

namespace zep {

// Which code computes a kernel's result. Exports run the vector path; the
// scalar path is each kernel's definition of its result, also used for the
// tail of every row.
enum class Path { scalar, vector };

}  // namespace zep
