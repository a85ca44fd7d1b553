#include "source/FrameConverter.h"

#include "hostfw/VideoFormats.h"
#include "plugin/Logging.h"
#include "source/SourceChecks.h"

#include <mfapi.h>
#include <mferror.h>

namespace
{

using Conversion = void(int width, int height, unsigned char *source, int sourceStride, unsigned char *destination,
                        int destinationStride);

struct ConversionRow {
    const GUID &subtype;
    Conversion *convert;
};
const ConversionRow hardwareConversions[] = {
    {MFVideoFormat_NV12, ConvertBufferFromUYVYtoNV12},
    {MFVideoFormat_YUY2, ConvertBufferFromUYVYtoYUY2},
};

} // namespace

HRESULT chooseFrameConverter(NDIlib_FourCC_video_type_e fourCC, bool hardwareSamples, IMFMediaType *to,
                             FrameConverter &converter)
{
    GUID subtype = GUID_NULL;
    CHECK_HR(to->GetGUID(MF_MT_SUBTYPE, &subtype));

    if (fourCC != NDIlib_FourCC_video_type_UYVY || !hardwareSamples) {
        const unsigned pixelBytes = BytesPerPixel(GetD3DFmtBySubtype(subtype));
        converter = [pixelBytes](const NDIlib_video_frame_v2_t &frame, BYTE *destination, LONG pitch) {
            MFCopyImage(destination, pitch, frame.p_data, frame.line_stride_in_bytes,
                        static_cast<DWORD>(frame.xres) * pixelBytes, static_cast<DWORD>(frame.yres));
        };
        return S_OK;
    }
    for (const ConversionRow &row : hardwareConversions) {
        if (!IsEqualGUID(row.subtype, subtype))
            continue;
        converter = [convert = row.convert](const NDIlib_video_frame_v2_t &frame, BYTE *destination, LONG pitch) {
            convert(frame.xres, frame.yres, frame.p_data, frame.line_stride_in_bytes, destination,
                    static_cast<int>(pitch));
        };
        return S_OK;
    }
    // Frames keep flowing as untouched samples.
    converter = [](const NDIlib_video_frame_v2_t &, BYTE *, LONG) {};
    qCWarning(sourceCategory, "Unsupported hardware sample format");
    return MF_E_UNSUPPORTED_D3D_TYPE;
}
