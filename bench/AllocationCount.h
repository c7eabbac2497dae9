#pragma once

namespace kasto::bench {

// How often memory was asked for since the start, by any thread of the program.
long allocationCount();

}  // namespace kasto::bench
