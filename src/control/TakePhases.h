#pragma once

#include <array>
#include <cstddef>
#include <optional>

namespace kasto {

// Where the program stands with its one take.
enum class Phase {
    idle,       // no take; one may be started
    starting,   // the recorder opens the screen and the movie
    recording,  // the take runs
    finishing,  // the movie is completed, converted and moved
    ended,      // the program is about to end; nothing starts any more
};

// What may happen to a take. The first six are wishes, the others are news from the recorder.
enum class Trigger {
    start,
    toggle,         // stop the take that runs, else start one
    stop,           // and show the movie to the user
    stopUnseen,     // and show nothing
    quit,           // end the program when no take is under way any more
    finishNow,      // the process ends without its event loop: finish the take at once
    endedByItself,  // the screen or the movie's writer failed
    started,
    startFailed,
    finished,
};

// What the controller does on the way to the next phase.
enum class Action {
    none,
    start,          // has the recorder start
    begin,          // turns on what lives only while a take runs
    tellFailure,    // tells why the take did not start
    finish,         // turns that off again and has the recorder finish
    finishUnseen,   // the same, and the movie is not shown in the end
    waitForFinish,  // the same on the spot: returns when the movie is in its file
    tellEnd,        // tells where the movie is
    terminate,      // lets the program end
};

// One cell of the table below. A cell without a next phase ignores its trigger.
struct Step {
    std::optional<Phase> next;
    Action action = Action::none;
    // The trigger comes too early, or is not done with this step: it is fired again when the phase changes.
    bool firesAgain = false;
};

inline constexpr std::size_t kPhases = 5;
inline constexpr std::size_t kTriggers = 10;

namespace detail {

inline constexpr Step kNone{};  // ignored
inline constexpr Step kStart{Phase::starting, Action::start};
inline constexpr Step kBegin{Phase::recording, Action::begin};
inline constexpr Step kFail{Phase::idle, Action::tellFailure};
inline constexpr Step kFinish{Phase::finishing, Action::finish};
inline constexpr Step kUnseen{Phase::finishing, Action::finishUnseen};
inline constexpr Step kTell{Phase::idle, Action::tellEnd};
inline constexpr Step kEnd{Phase::ended, Action::terminate};
inline constexpr Step kEndNow{Phase::ended, Action::waitForFinish};
inline constexpr Step kAfterStart{Phase::starting, Action::none, true};
inline constexpr Step kAfterFinish{Phase::finishing, Action::none, true};
inline constexpr Step kUnseenThenAgain{Phase::finishing, Action::finishUnseen, true};

// One row per trigger, in the order of `Trigger`; one column per phase, in the order of `Phase`.
// clang-format off
inline constexpr std::array<std::array<Step, kPhases>, kTriggers> kSteps{{
    //  idle     starting      recording         finishing     ended
    {{ kStart,   kNone,        kNone,            kNone,        kNone }},  // start
    {{ kStart,   kNone,        kFinish,          kNone,        kNone }},  // toggle
    {{ kNone,    kNone,        kFinish,          kNone,        kNone }},  // stop
    {{ kNone,    kNone,        kUnseen,          kNone,        kNone }},  // stopUnseen
    {{ kEnd,     kAfterStart,  kUnseenThenAgain, kAfterFinish, kNone }},  // quit
    {{ kEndNow,  kEndNow,      kEndNow,          kEndNow,      kNone }},  // finishNow
    {{ kNone,    kAfterStart,  kFinish,          kNone,        kNone }},  // endedByItself
    {{ kNone,    kBegin,       kNone,            kNone,        kNone }},  // started
    {{ kNone,    kFail,        kNone,            kNone,        kNone }},  // startFailed
    {{ kNone,    kNone,        kNone,            kTell,        kNone }},  // finished
}};
// clang-format on

}  // namespace detail

// What a trigger does in a phase.
constexpr Step stepFor(Phase phase, Trigger trigger) {
    return detail::kSteps[static_cast<std::size_t>(trigger)][static_cast<std::size_t>(phase)];
}

}  // namespace kasto
