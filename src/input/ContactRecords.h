#pragma once

#include <cstdint>
#include <memory>

namespace kasto {

class TouchPadZoomPan;

// Contact frames as C code hands them over: `count` consecutive records of 96 bytes at any address, little
// endian. Of each record three fields are read: at offset 20 the state as a signed 32-bit number, at 32 and
// 36 the place x and y as 32-bit floats. States and places mean what they mean in `Contact`.
//
// This is the only place that knows the layout. The callback has no context argument, so its receiver is kept
// in one variable of the process.

// Hands a frame to the active receiver and returns 0. `timestampS` counts seconds of any clock that only
// goes forward; `device` and `frame` are ignored. No records, or a count that is not positive, make a frame
// without contacts. Any thread.
extern "C" std::int32_t kastoMTCallback(void* device, const void* contacts, std::int32_t count,
                                        double timestampS, std::int32_t frame);

// Chooses who receives the frames; an empty pointer means that they are dropped. The receiver is not kept
// alive, except during a frame. Any thread.
void setActiveTouchPad(std::weak_ptr<TouchPadZoomPan> receiver);

}  // namespace kasto
