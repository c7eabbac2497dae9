#pragma once

#include <string_view>

namespace kasto {

enum class ThreadPriority { userInteractive, utility };

// Names the calling thread after the last part of a dotted label, cut to what the kernel keeps.
void nameThread(std::string_view label);

// Moves the calling thread ahead of or behind other work. What the system refuses is left as it is: a
// recorder without the right to a higher priority still records.
void setThreadPriority(ThreadPriority priority);

}  // namespace kasto
