// Shared pieces of the filter tests: typed exports as std::function, random
// taps, and a check-order driver for calls described by a struct of arguments.
#pragma once

#include <gtest/gtest.h>
#include <zepcv.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "support/image.h"

namespace ft {

// A breaker spoils one argument of a call; breakers are listed in check order.
template <class Args>
struct Breaker {
    std::string what;
    int field;
    std::function<void(Args&)> apply;
    ZepStatus expected;
};

// Each breaker alone gives its status; each pair gives the status of the one
// listed first; no failing call changes a byte of `watched`.
template <class Args>
void expectOrder(const std::string& name, const Args& valid, const std::function<ZepStatus(Args&)>& call,
                 const std::vector<Breaker<Args>>& breakers, const std::vector<const zt::Canvas*>& watched) {
    std::vector<std::vector<uint8_t>> before;
    for (const auto* c : watched) before.push_back(c->bytes());
    auto untouched = [&] {
        for (size_t i = 0; i < watched.size(); ++i)
            if (watched[i]->bytes() != before[i]) return false;
        return true;
    };
    {
        Args a = valid;
        ASSERT_EQ(call(a), zepStsOk) << name << ": the valid call fails";
        before.clear();
        for (const auto* c : watched) before.push_back(c->bytes());
    }
    for (size_t i = 0; i < breakers.size(); ++i) {
        Args a = valid;
        breakers[i].apply(a);
        EXPECT_EQ(call(a), breakers[i].expected) << name << ": " << breakers[i].what;
        ASSERT_TRUE(untouched()) << name << ": " << breakers[i].what << " wrote output";
        for (size_t j = i + 1; j < breakers.size(); ++j) {
            if (breakers[j].field == breakers[i].field) continue;
            Args ab = valid;
            breakers[j].apply(ab);
            breakers[i].apply(ab);
            EXPECT_EQ(call(ab), breakers[i].expected)
                << name << ": " << breakers[i].what << " with " << breakers[j].what;
            ASSERT_TRUE(untouched()) << name << ": " << breakers[i].what << " with " << breakers[j].what;
        }
    }
}

// A canvas of `bytes` bytes ending at an inaccessible page, for work buffers.
inline zt::Canvas bufferOf(int64_t bytes, int64_t misalign = 13) { return zt::Canvas(bytes, 1, bytes, misalign); }

}  // namespace ft
