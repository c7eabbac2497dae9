#pragma once

namespace kasto::bench {

// How many times any thread of the program has allocated memory since the start.
long allocationCount();

}  // namespace kasto::bench
