#include "host/pipeline/DeclaredRate.h"

#include <mfapi.h>

namespace host
{

DeclaredRate::DeclaredRate(IMFMediaType *type)
{
    UINT32 numerator = 0;
    UINT32 denominator = 0;
    UINT32 rate = 0;
    UINT32 frameBytes = 0;
    if (SUCCEEDED(MFGetAttributeRatio(type, MF_MT_FRAME_RATE, &numerator, &denominator)) && numerator > 0)
        m_picture = HnsTime::seconds(denominator) / numerator;
    if (SUCCEEDED(type->GetUINT32(MF_MT_AUDIO_SAMPLES_PER_SECOND, &rate)) &&
        SUCCEEDED(type->GetUINT32(MF_MT_AUDIO_BLOCK_ALIGNMENT, &frameBytes)))
        m_bytesPerSecond = static_cast<long long>(rate) * frameBytes;
}

HnsTime DeclaredRate::duration(IMFSample *sample) const
{
    if (HnsTime(0) < m_picture)
        return m_picture;
    DWORD bytes = 0;
    if (m_bytesPerSecond > 0 && SUCCEEDED(sample->GetTotalLength(&bytes)))
        return HnsTime::seconds(bytes) / m_bytesPerSecond;
    LONGLONG duration = 0;
    return SUCCEEDED(sample->GetSampleDuration(&duration)) ? duration : 0;
}

} // namespace host
