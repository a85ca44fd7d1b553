#pragma once

#include "Processing.NDI.Interface.h"

#include <windows.h>

#include <mfobjects.h>

#include <functional>

// Writes one frame into a picture: the address of its top line, and the signed distance between its lines in bytes.
using FrameConverter = std::function<void(const NDIlib_video_frame_v2_t &, BYTE *, LONG)>;

// The converter from frames of `fourCC` to samples of type `to`. Hardware samples of UYVY frames are YUY2 or NV12: for
// any other type the converter does nothing, and the result is MF_E_UNSUPPORTED_D3D_TYPE. All else is copied line by
// line. Without a subtype in `to` the converter stays as it is and the failure is returned.
HRESULT chooseFrameConverter(NDIlib_FourCC_video_type_e fourCC, bool hardwareSamples, IMFMediaType *to,
                             FrameConverter &converter);
