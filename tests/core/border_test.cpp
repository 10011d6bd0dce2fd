// Border decoding and the mirror and replicate index rules shared by the filter families.
#include "core/border.h"

#include <gtest/gtest.h>

namespace {

using zep::Border;
using zep::borderIndex;
using zep::decodeBorder;

TEST(Border, DecodesBasesFlagsAndLimits) {
    const unsigned filterBases = zep::bases({zepBorderRepl, zepBorderMirror, zepBorderConst});
    Border b{};
    EXPECT_TRUE(decodeBorder(zepBorderInMem, 255, filterBases, b));
    EXPECT_TRUE(b.inMemTop && b.inMemBottom && b.inMemLeft && b.inMemRight);
    EXPECT_TRUE(decodeBorder(0xF1, 255, filterBases, b));
    EXPECT_EQ(b.base, zepBorderRepl);
    EXPECT_TRUE(decodeBorder(zepBorderDefault | zepBorderInMemLeft, 255, zep::bases({zepBorderDefault}), b));
    EXPECT_EQ(b.base, zepBorderConst) << "default becomes constant with the operation's neutral value";
    EXPECT_TRUE(b.inMemLeft && !b.inMemRight);
    EXPECT_FALSE(decodeBorder(256, 255, filterBases, b));
    EXPECT_FALSE(decodeBorder(4096, 4095, filterBases, b));
    EXPECT_FALSE(decodeBorder(zepBorderInMemTop, 255, filterBases, b)) << "no base type needs all four flags";
    EXPECT_FALSE(decodeBorder(2, 255, filterBases, b));
}

TEST(Border, MirrorDoesNotRepeatTheEdgeReplicateClamps) {
    // Row a b c d (indices 0..3).
    const int mirrorLeft[] = {1, 2, 3, 2, 1, 0};  // x = -1 .. -6
    for (int k = 0; k < 6; ++k) EXPECT_EQ(borderIndex(-1 - k, 4, zepBorderMirror), mirrorLeft[k]) << k;
    EXPECT_EQ(borderIndex(4, 4, zepBorderMirror), 2);
    EXPECT_EQ(borderIndex(9, 4, zepBorderMirror), 3);
    EXPECT_EQ(borderIndex(-5, 1, zepBorderMirror), 0);
    EXPECT_EQ(borderIndex(-3, 4, zepBorderRepl), 0);
    EXPECT_EQ(borderIndex(7, 4, zepBorderRepl), 3);
}

}  // namespace
