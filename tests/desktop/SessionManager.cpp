#include "desktop/SessionManager.h"

#include "support/WaitUntil.h"

#include <X11/ICE/ICElib.h>
#include <X11/SM/SMlib.h>
#include <poll.h>

#include <array>
#include <cstdlib>
#include <stdexcept>

// Exported by the library for session managers, and declared nowhere.
extern "C" int _IceTransNoListen(const char* protocol);  // NOLINT(bugprone-reserved-identifier)

namespace kasto::test {

namespace {

bool isReadable(int fd) {
    pollfd one{fd, POLLIN, 0};
    return poll(&one, 1, 10) > 0;
}

}  // namespace

class SessionManager::Listener {
public:
    Listener();
    ~Listener();

    bool waitForAnswer();

    int listeners = 0;
    IceListenObj* listening = nullptr;
    IceConn connection = nullptr;
    SmsConn client = nullptr;
    bool answered = false;
    std::vector<std::string> restartCommand;

private:
    static Listener& of(SmPointer manager) { return *static_cast<Listener*>(manager); }
    static Status newClient(SmsConn client, SmPointer manager, unsigned long* mask, SmsCallbacks* callbacks,
                            char** failure);
    static void keepRestartCommand(SmsConn, SmPointer manager, int count, SmProp** properties);
};

void SessionManager::Listener::keepRestartCommand(SmsConn, SmPointer manager, int count,
                                                  SmProp** properties) {
    for (int i = 0; i < count; ++i) {
        const SmProp& property = *properties[i];
        if (property.name == std::string(SmRestartCommand)) {
            of(manager).restartCommand.clear();
            for (int word = 0; word < property.num_vals; ++word)
                of(manager).restartCommand.emplace_back(static_cast<const char*>(property.vals[word].value),
                                                        property.vals[word].length);
        }
        SmFreeProperty(properties[i]);
    }
    std::free(static_cast<void*>(properties));
}

SessionManager::Listener::Listener() {
    std::array<char, 256> error{};
    const auto anybody = [](char*) -> Bool { return True; };
    _IceTransNoListen("tcp");
    if (!SmsInitialize("kasto", "1", newClient, this, anybody, error.size(), error.data()) ||
        !IceListenForConnections(&listeners, &listening, error.size(), error.data()))
        throw std::runtime_error(error.data());
    for (int i = 0; i < listeners; ++i) IceSetHostBasedAuthProc(listening[i], anybody);
}

SessionManager::Listener::~Listener() {
    if (client) SmsCleanUp(client);
    IceFreeListenObjs(listeners, listening);
}

Status SessionManager::Listener::newClient(SmsConn client, SmPointer manager, unsigned long* mask,
                                           SmsCallbacks* callbacks, char**) {
    of(manager).client = client;
    *mask = SmsRegisterClientProcMask | SmsInteractRequestProcMask | SmsInteractDoneProcMask |
            SmsSaveYourselfRequestProcMask | SmsSaveYourselfP2RequestProcMask | SmsSaveYourselfDoneProcMask |
            SmsCloseConnectionProcMask | SmsSetPropertiesProcMask | SmsDeletePropertiesProcMask |
            SmsGetPropertiesProcMask;
    *callbacks = {};
    callbacks->register_client = {[](SmsConn newcomer, SmPointer, char* former) -> Status {
                                      char* const id = former ? former : SmsGenerateClientID(newcomer);
                                      SmsRegisterClientReply(newcomer, id);
                                      SmsSaveYourself(newcomer, SmSaveLocal, False, SmInteractStyleNone,
                                                      False);
                                      std::free(id);
                                      return 1;
                                  },
                                  manager};
    callbacks->save_yourself_done = {[](SmsConn, SmPointer to, Bool) { of(to).answered = true; }, manager};
    callbacks->close_connection = {[](SmsConn closing, SmPointer to, int count, char** reasons) {
                                       SmFreeReasons(count, reasons);
                                       SmsCleanUp(closing);
                                       of(to).client = nullptr;
                                   },
                                   manager};
    callbacks->set_properties = {keepRestartCommand, manager};
    // What kasto has no need of.
    callbacks->interact_request = {[](SmsConn asking, SmPointer, int) { SmsInteract(asking); }, manager};
    callbacks->interact_done = {[](SmsConn, SmPointer, Bool) {}, manager};
    callbacks->save_yourself_request = {[](SmsConn, SmPointer, int, Bool, int, Bool, Bool) {}, manager};
    callbacks->save_yourself_phase2_request = {
        [](SmsConn asking, SmPointer) { SmsSaveYourselfPhase2(asking); }, manager};
    callbacks->delete_properties = {
        [](SmsConn, SmPointer, int count, char** names) { SmFreeReasons(count, names); }, manager};
    callbacks->get_properties = {[](SmsConn asking, SmPointer) { SmsReturnProperties(asking, 0, nullptr); },
                                 manager};
    return 1;
}

bool SessionManager::Listener::waitForAnswer() {
    answered = false;
    return waitUntil([&] {
        if (isReadable(IceConnectionNumber(connection))) IceProcessMessages(connection, nullptr, nullptr);
        return answered;
    });
}

SessionManager::SessionManager() : listener_(std::make_unique<Listener>()) {}

SessionManager::~SessionManager() = default;

std::string SessionManager::variable() const {
    char* const ids = IceComposeNetworkIdList(listener_->listeners, listener_->listening);
    std::string value = "SESSION_MANAGER=" + std::string(ids);
    std::free(ids);
    return value;
}

bool SessionManager::waitForClient() {
    auto& to = *listener_;
    return waitUntil([&] {
               for (int i = 0; !to.connection && i < to.listeners; ++i) {
                   if (!isReadable(IceGetListenConnectionNumber(to.listening[i]))) continue;
                   IceAcceptStatus status{};
                   to.connection = IceAcceptConnection(to.listening[i], &status);
               }
               return to.connection != nullptr;
           }) &&
           to.waitForAnswer();
}

bool SessionManager::save(bool isShutdown) {
    SmsSaveYourself(listener_->client, SmSaveBoth, isShutdown ? True : False,
                    isShutdown ? SmInteractStyleAny : SmInteractStyleNone, False);
    const bool answered = listener_->waitForAnswer();
    if (!isShutdown) SmsSaveComplete(listener_->client);
    return answered;
}

void SessionManager::cancelShutdown() { SmsShutdownCancelled(listener_->client); }

void SessionManager::die() { SmsDie(listener_->client); }

const std::vector<std::string>& SessionManager::restartCommand() const { return listener_->restartCommand; }

}  // namespace kasto::test
