#pragma once

#include "base/FileDescriptor.h"
#include "base/Result.h"

#include <functional>

namespace kasto {

// The part of a desktop that lends its cameras to programs which may not see them themselves: sandboxed ones,
// and those of a session that keeps its cameras to itself. It may show the user a question.
//
// Operations: any thread, and return at once. Answers come on the main thread, each at most once, not before
// the operation has returned and not after the portal's end.
class CameraPortal {
public:
    enum class Answer {
        granted,
        denied,      // the user refused, now or before
        restricted,  // the desktop lends cameras to nobody
        failed,      // nobody answered; it may be asked again
    };

    virtual ~CameraPortal() = default;

    // Whether there may be a camera to lend. Asks the user nothing; false where there is no portal.
    virtual void askForPresence(std::function<void(bool mayBePresent)> answer) = 0;

    // Asks for the right to all cameras. Takes as long as the user takes.
    virtual void requestAccess(std::function<void(Answer)> answer) = 0;

    // A connection to a media server that shows the cameras, once access is granted.
    virtual void openRemote(std::function<void(Result<FileDescriptor>)> answer) = 0;
};

}  // namespace kasto
