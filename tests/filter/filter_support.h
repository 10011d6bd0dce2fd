// Shared pieces of the filter tests: the shared check-order driver and work
// buffers under the filter tests' names.
#pragma once

#include <gtest/gtest.h>
#include <zepcv.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "support/check_order.h"

namespace ft {

using zt::bufferOf;
using zt::expectOrder;
template <class Args>
using Breaker = zt::BreakerOf<Args>;

}  // namespace ft
