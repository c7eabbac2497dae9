#pragma once

#include "base/FileDescriptor.h"
#include "base/Result.h"

#include <functional>

namespace kasto {

// The desktop's service that gives access to cameras to programs that cannot open them directly: sandboxed
// programs, and all programs of a session that protects its cameras. It may ask the user.
//
// All operations may be called on any thread and return at once. Answers come on the main thread, each at
// most once, never before the operation has returned and never after the portal's end.
class CameraPortal {
public:
    enum class Answer {
        granted,
        denied,      // the user refused, now or before
        restricted,  // the desktop gives no program access
        failed,      // no answer; the question may be repeated
    };

    virtual ~CameraPortal() = default;

    // Tells whether there may be a camera. Does not ask the user. The answer is false without a portal.
    virtual void askForPresence(std::function<void(bool mayBePresent)> answer) = 0;

    // Asks for access to all cameras. The answer comes when the user has decided.
    virtual void requestAccess(std::function<void(Answer)> answer) = 0;

    // Opens a connection to a media server that shows the cameras. Access must have been granted.
    virtual void openRemote(std::function<void(Result<FileDescriptor>)> answer) = 0;
};

}  // namespace kasto
