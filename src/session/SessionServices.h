#pragma once

#include "linux/evdev/EvdevMultitouch.h"
#include "linux/ffmpeg/AacEncoder.h"
#include "linux/ffmpeg/FfmpegExports.h"
#include "linux/ffmpeg/HardwareEncoders.h"
#include "linux/freedesktop/DesktopWorkspace.h"
#include "linux/freedesktop/automation/DBusAutomation.h"
#include "linux/freedesktop/automation/DBusRunningInstance.h"
#include "linux/freedesktop/portal/DBusCameraPortal.h"
#include "linux/freedesktop/status/TrayStatusItems.h"
#include "linux/pipewire/PipeWireConnection.h"
#include "linux/pipewire/camera/PortalCameras.h"
#include "linux/pipewire/sound/PipeWireSound.h"
#include "movie/encoder/EncoderChoice.h"
#include "movie/h264/SoftwareEncoder.h"
#include "movie/writer/MovieFileWriters.h"
#include "platform/OwnWindows.h"

namespace kasto {

// The services that are the same whatever the display server is. Needs the application object.
struct SessionServices {
    SessionServices();

    OwnWindows ownWindows;
    evdev::EvdevMultitouch multitouch;
    pipewire::PipeWireConnection mediaServer;
    pipewire::PipeWireSound sound{mediaServer};
    freedesktop::DBusCameraPortal cameraPortal;
    pipewire::PortalCameras cameraSession{mediaServer, cameraPortal};
    MovieFileWriters movieWriters{
        preferHardware(ffmpeg::hardwareEncoders(), openSoftwareEncoder, openReplacementEncoder),
        ffmpeg::openAacEncoder};
    ffmpeg::FfmpegExports movieExports;
    freedesktop::DBusRunningInstance runningInstance;
    freedesktop::DBusAutomation automation{runningInstance};
    freedesktop::DesktopWorkspace workspace;
    freedesktop::TrayStatusItems statusItems;
};

}  // namespace kasto
