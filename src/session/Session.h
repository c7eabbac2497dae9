#pragma once

#include "base/Result.h"
#include "platform/Desktop.h"

#include <memory>

class QGuiApplication;

namespace kasto {

class Automation;

// The desktop session that the program runs in, with all the services the program expects of it. Made after
// Qt's application object and gone before it. Main thread.
class Session {
public:
    virtual ~Session() = default;

    // The services, for as long as the session lives.
    virtual Desktop desktop() = 0;
    virtual Automation& automation() = 0;

    // Connects to the media server. Called by the instance of the program that goes on running, and before
    // the first take: the connection's threads inherit the priority of this thread, and a take's is lower.
    virtual void connectMedia() = 0;
};

// The display server of the session, by which kasto sees the screen; one class for each kind. It is opened
// before Qt's application object, because Qt ends the process by itself where it finds no display. Main
// thread.
class DisplayServer {
public:
    virtual ~DisplayServer() = default;

    // Opens what needs the application object. The display server outlives the result. Fails with the reason
    // as a user reads it.
    virtual Result<std::unique_ptr<Session>> openSession(QGuiApplication& application) = 0;
};

// Connects to the display server that the environment names, and has Qt draw there. Fails where there is none
// that kasto can record.
Result<std::unique_ptr<DisplayServer>> openDisplayServer();

}  // namespace kasto
