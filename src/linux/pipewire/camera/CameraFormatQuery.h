#pragma once

#include "linux/pipewire/PipeWireConnection.h"
#include "linux/pipewire/camera/CameraFormat.h"

#include <pipewire/pipewire.h>

#include <cstdint>
#include <semaphore>
#include <vector>

namespace kasto::pipewire {

// Asks a camera for the formats it offers. Used by one thread, which is not the connection's.
class CameraFormatQuery final : private PipeWireObserver {
public:
    // Sends the question. The connection must outlive the query.
    CameraFormatQuery(PipeWireConnection& connection, std::uint32_t nodeId);
    ~CameraFormatQuery() override;
    CameraFormatQuery(const CameraFormatQuery&) = delete;
    CameraFormatQuery& operator=(const CameraFormatQuery&) = delete;

    // Waits for the answer, at most one second, and returns the usable formats. If the camera disappears or
    // answers late, those received so far. Call it once.
    std::vector<CameraFormat> answer();

private:
    void ask(std::uint32_t nodeId);
    void release();
    void finish();

    // Called on the connection's thread.
    void mediaChanged() override {}
    void serverGone() override;

    PipeWireConnection& connection_;

    // Under the connection's lock.
    pw_node* node_ = nullptr;
    spa_hook nodeListener_{};
    spa_hook coreListener_{};
    int asked_ = 0;
    bool isFinished_ = false;
    std::vector<CameraFormat> formats_;

    std::binary_semaphore finished_{0};
};

}  // namespace kasto::pipewire
