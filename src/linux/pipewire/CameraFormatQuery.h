#pragma once

#include "linux/pipewire/CameraFormat.h"
#include "linux/pipewire/PipeWireConnection.h"

#include <pipewire/pipewire.h>

#include <cstdint>
#include <semaphore>
#include <vector>

namespace kasto::pipewire {

// The question to a camera what it offers. Any thread but the connection's.
class CameraFormatQuery final : private PipeWireObserver {
public:
    // Asks. The connection outlives the question.
    CameraFormatQuery(PipeWireConnection& connection, std::uint32_t nodeId);
    ~CameraFormatQuery() override;
    CameraFormatQuery(const CameraFormatQuery&) = delete;
    CameraFormatQuery& operator=(const CameraFormatQuery&) = delete;

    // The formats that can be used, once the camera has told them all; those known by then if that takes too
    // long or the camera goes. Once.
    std::vector<CameraFormat> answer();

private:
    void ask(std::uint32_t nodeId);
    void release();
    void finish();

    // The connection's thread
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
