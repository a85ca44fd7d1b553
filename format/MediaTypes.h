#pragma once

#include "format/AudioFormat.h"
#include "hostfw/ComPtr.h"

#include "Processing.NDI.Interface.h"

#include <mfobjects.h>

// The one place where frames become media types and media types become frame formats. Functions without state, callable
// from any thread; they log into the general category.

// Null, with a warning, for a FourCC that is not mapped. With `preferYUY2` a UYVY frame is announced as YUY2.
// Throws ComException when Media Foundation cannot make a type.
CComPtr<IMFMediaType> createVideoMediaType(const NDIlib_video_frame_v2_t &frame, bool preferYUY2);
// Always 32-bit float, interleaved. Throws ComException when Media Foundation cannot make a type.
CComPtr<IMFMediaType> createAudioMediaType(const NDIlib_audio_frame_v2_t &frame);

// Fills the format fields of `frame`; FourCC is 0 for a subtype that is not mapped. On failure `frame` is untouched.
HRESULT videoFormatFromMediaType(IMFMediaType *mediaType, NDIlib_video_frame_v2_t &frame);
// On failure `format` is untouched.
HRESULT audioFormatFromMediaType(IMFMediaType *mediaType, AudioFormat &format);
