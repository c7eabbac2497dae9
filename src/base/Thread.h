#pragma once

#include <string_view>

namespace kasto {

enum class ThreadPriority { userInteractive, utility };

// Names the calling thread "kasto-" and the last part of the dotted label, cut to the 15 characters that the
// kernel keeps.
void nameThread(std::string_view label);

// Lets the calling thread run before or after other work. Nothing happens if the system refuses, as it does
// for users without the right to a higher priority.
void setThreadPriority(ThreadPriority priority);

}  // namespace kasto
