#pragma once

#include "Processing.NDI.Interface.h"

#include <windows.h>

#include <mfobjects.h>

// The format of a video frame is an NDIlib_video_frame_v2_t of which only the format fields count: never timecode,
// p_data, p_metadata or timestamp. Functions without state, callable from any thread.

// Compares FourCC, xres, yres, frame_rate_N, frame_rate_D, picture_aspect_ratio and line_stride_in_bytes, in this
// order. Whether a frame is progressive or a field is not part of its format.
bool isSameVideoFormat(const NDIlib_video_frame_v2_t &left, const NDIlib_video_frame_v2_t &right);
// Copies the fields that isSameVideoFormat compares.
void copyVideoFormat(NDIlib_video_frame_v2_t &destination, const NDIlib_video_frame_v2_t &source);

// GUID_NULL for a FourCC that is not mapped. UYVY is MFVideoFormat_UYVY.
GUID fourCCToSubtype(NDIlib_FourCC_video_type_e fourCC);
// 0 for a subtype that is not mapped. MFVideoFormat_YUY2 is UYVY: the sender converts.
NDIlib_FourCC_video_type_e subtypeToFourCC(const GUID &subtype);

// MFVideoInterlace_Unknown for a value that is not mapped.
MFVideoInterlaceMode frameFormatToInterlaceMode(NDIlib_frame_format_type_e type);
// Progressive for a mode that is not mapped.
NDIlib_frame_format_type_e interlaceModeToFrameFormat(UINT32 mode);
