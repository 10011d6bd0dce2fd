// Argument checks in the library's fixed order. A chain of checks stops at the
// first failure; later checks see the failure and do nothing:
//
//   return Checks{}
//       .notNull(pSrc, pSrcDst)
//       .roi(roiSize)
//       .steps({rowOf<uint16_t>(srcStep, w)})
//       .steps({rowOf<float>(accStep, w)})
//       .run([&] { kernel(...); });
//
// steps() checks every listed step against its row's bytes first, then every
// listed step for a multiple of its element size; images that are checked one
// by one take one steps() call each.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "core/buffer.h"
#include "core/export.h"

namespace zep {

// One image's step and the row it must hold.
struct StepRule {
    int64_t step;
    int64_t rowBytes;
    int64_t elemBytes;
};

// The step rule of an image of `width` pixels of `channels` elements of T.
template <class T>
constexpr StepRule rowOf(int64_t step, int64_t width, int64_t channels = 1) {
    return {step, width * channels * static_cast<int64_t>(sizeof(T)), static_cast<int64_t>(sizeof(T))};
}

class Checks {
public:
    template <class... P>
    constexpr Checks& notNull(const P*... pointers) {
        return fail(((pointers == nullptr) || ...), zepStsNullPointer);
    }

    constexpr Checks& roi(ImageSize size) { return fail(size.width < 1 || size.height < 1, zepStsBadSize); }

    // A null among count row pointers; read only when every check so far passed.
    template <class T>
    Checks& rowPointers(T* const* rows, int64_t count) {
        for (int64_t i = 0; ok() && i < count; ++i) fail(rows[i] == nullptr, zepStsNullPointer);
        return *this;
    }

    // A step below its row's bytes (negative steps included) is zepStsBadStep;
    // then a step that is not a multiple of its element is zepStsStepNotMultiple.
    constexpr Checks& steps(std::initializer_list<StepRule> rules) {
        for (const StepRule& r : rules) fail(r.step < r.rowBytes, zepStsBadStep);
        for (const StepRule& r : rules) fail(r.step % r.elemBytes != 0, zepStsStepNotMultiple);
        return *this;
    }

    // A size the query would report through an int (or, sizeFits64, an
    // int64) that does not fit it: zepStsSizeOverflow.
    constexpr Checks& sizeFits(Bytes size) { return fail(!size.fitsInt32(), zepStsSizeOverflow); }
    constexpr Checks& sizeFits64(Bytes size) { return fail(!size.fitsInt64(), zepStsSizeOverflow); }

    // A deliberate no-op: when it holds and nothing failed before, the call
    // returns zepStsOk without running, whatever later checks would say.
    constexpr Checks& quietIf(bool noOp) {
        if (status_ == zepStsOk && noOp) quiet_ = true;
        return *this;
    }

    constexpr Checks& fail(bool failed, ZepStatus status) {
        if (status_ == zepStsOk && !quiet_ && failed) status_ = status;
        return *this;
    }

    constexpr ZepStatus status() const { return status_; }
    // Whether the operation is to run: every check so far passed, and no no-op.
    constexpr bool ok() const { return status_ == zepStsOk && !quiet_; }

    // Runs the operation when every check passed; returns the first failure otherwise.
    template <class F>
    ZepStatus run(F&& operation) const {
        if (status_ != zepStsOk || quiet_) return status_;
        operation();
        return zepStsOk;
    }

private:
    ZepStatus status_ = zepStsOk;
    bool quiet_ = false;
};

}  // namespace zep

// ===========================================================================
// Results delivered with a warning.

namespace zep {

// Checks::run for an operation whose result may come with a warning: the
// operation returns whether it does, and the status is then `warning` (a
// positive status) instead of zepStsOk. A failed check is returned as run
// returns it, and a no-op does not run.
template <class F>
ZepStatus runWithWarning(const Checks& checks, ZepStatus warning, F&& operation) {
    if (!checks.ok()) return checks.status();
    return operation() ? warning : zepStsOk;
}

}  // namespace zep
