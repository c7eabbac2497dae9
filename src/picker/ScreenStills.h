#pragma once

#include "base/Geometry.h"
#include "base/SerialQueue.h"

#include <QPixmap>
#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace kasto {

class ScreenCapture;
struct Display;

// Reads one picture of each display, as takes record it: without own windows and without the cursor. Main
// thread; the reading runs on a queue of its own.
class ScreenStills {
public:
    using Pictures = std::map<DisplayId, QPixmap>;

    // `capture` outlives this.
    explicit ScreenStills(ScreenCapture& capture) : capture_(capture) {}

    // Waits for a reading under way, whose callback is not called any more.
    ~ScreenStills() = default;

    // Calls `done` once, later, with the pictures of the displays that could be read; each may take up to 2
    // s. A reading under way is cancelled.
    void read(std::vector<Display> displays, std::function<void(Pictures)> done);

    // The callback of a reading under way is not called any more.
    void cancel() { wanted_.reset(); }

    bool isReading() const { return wanted_ != nullptr; }

private:
    using Done = std::function<void(Pictures)>;

    ScreenCapture& capture_;
    std::shared_ptr<Done> wanted_;
    // The last member, so that its jobs have ended before the others are destroyed.
    SerialQueue queue_{"app.tolvane.kasto.stills", QueuePriority::userInteractive};
};

}  // namespace kasto
