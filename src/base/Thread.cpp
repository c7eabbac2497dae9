#include "base/Thread.h"

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <string>

namespace kasto {

void nameThread(std::string_view label) {
    constexpr std::size_t kMaxLength = 15;
    const auto dot = label.rfind('.');
    const std::string name("kasto-" + std::string(dot == label.npos ? label : label.substr(dot + 1)));
    pthread_setname_np(pthread_self(), name.substr(0, kMaxLength).c_str());
}

void setThreadPriority(ThreadPriority priority) {
    const int niceness = priority == ThreadPriority::utility ? 10 : -10;
    // On Linux a niceness belongs to one thread.
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), niceness);
}

}  // namespace kasto
