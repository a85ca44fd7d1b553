#include "format/VideoFormat.h"

#include <mfapi.h>

namespace
{

// In order: the first row that matches counts.
struct SubtypeRow {
    NDIlib_FourCC_video_type_e fourCC;
    const GUID &subtype;
};
const SubtypeRow subtypes[] = {
    {NDIlib_FourCC_video_type_UYVY, MFVideoFormat_UYVY},
    {NDIlib_FourCC_video_type_UYVY, MFVideoFormat_YUY2},
    {NDIlib_FourCC_video_type_BGRA, MFVideoFormat_ARGB32},
    {NDIlib_FourCC_video_type_BGRX, MFVideoFormat_RGB32},
};

struct InterlaceRow {
    NDIlib_frame_format_type_e type;
    MFVideoInterlaceMode mode;
};
constexpr InterlaceRow interlaceModes[] = {
    {NDIlib_frame_format_type_progressive, MFVideoInterlace_Progressive},
    {NDIlib_frame_format_type_interleaved, MFVideoInterlace_FieldInterleavedUpperFirst},
    {NDIlib_frame_format_type_field_0, MFVideoInterlace_FieldSingleUpper},
    {NDIlib_frame_format_type_field_1, MFVideoInterlace_FieldSingleLower},
};

} // namespace

bool isSameVideoFormat(const NDIlib_video_frame_v2_t &left, const NDIlib_video_frame_v2_t &right)
{
    return left.FourCC == right.FourCC && left.xres == right.xres && left.yres == right.yres &&
           left.frame_rate_N == right.frame_rate_N && left.frame_rate_D == right.frame_rate_D &&
           left.picture_aspect_ratio == right.picture_aspect_ratio &&
           left.line_stride_in_bytes == right.line_stride_in_bytes;
}

void copyVideoFormat(NDIlib_video_frame_v2_t &destination, const NDIlib_video_frame_v2_t &source)
{
    destination.FourCC = source.FourCC;
    destination.xres = source.xres;
    destination.yres = source.yres;
    destination.frame_rate_N = source.frame_rate_N;
    destination.frame_rate_D = source.frame_rate_D;
    destination.picture_aspect_ratio = source.picture_aspect_ratio;
    destination.line_stride_in_bytes = source.line_stride_in_bytes;
}

GUID fourCCToSubtype(NDIlib_FourCC_video_type_e fourCC)
{
    for (const SubtypeRow &row : subtypes)
        if (row.fourCC == fourCC)
            return row.subtype;
    return GUID_NULL;
}

NDIlib_FourCC_video_type_e subtypeToFourCC(const GUID &subtype)
{
    for (const SubtypeRow &row : subtypes)
        if (IsEqualGUID(row.subtype, subtype))
            return row.fourCC;
    return static_cast<NDIlib_FourCC_video_type_e>(0);
}

MFVideoInterlaceMode frameFormatToInterlaceMode(NDIlib_frame_format_type_e type)
{
    for (const InterlaceRow &row : interlaceModes)
        if (row.type == type)
            return row.mode;
    return MFVideoInterlace_Unknown;
}

NDIlib_frame_format_type_e interlaceModeToFrameFormat(UINT32 mode)
{
    for (const InterlaceRow &row : interlaceModes)
        if (static_cast<UINT32>(row.mode) == mode)
            return row.type;
    return NDIlib_frame_format_type_progressive;
}
