#include "host/source/PatternVideoStream.h"

#include "hostfw/MediaBuffers.h"
#include "hostfw/VideoFormats.h"
#include "pattern/FrameRate.h"

#include <evr.h>
#include <mfapi.h>

#include <cstring>

namespace host
{

namespace
{

constexpr DWORD VideoStreamId = 0;
constexpr DWORD PicturePoolSize = 5;

pattern::PixelLayout layoutOf(const GUID &subtype)
{
    if (IsEqualGUID(subtype, MFVideoFormat_UYVY))
        return pattern::PixelLayout::UYVY;
    if (IsEqualGUID(subtype, MFVideoFormat_YUY2))
        return pattern::PixelLayout::YUY2;
    return pattern::PixelLayout::BGRA;
}

} // namespace

PatternVideoStream::PatternVideoStream(tvx::ISource *source, const PatternSettings &settings,
                                       std::shared_ptr<PatternPace> pace)
    : PatternStream(source, VideoStreamId, settings, std::move(pace),
                    tvx::MFMessageQueue(tvx::MFMessageQueue::Type::Serial, 0)),
      m_picture(layoutOf(settings.subtype), settings.width, settings.height),
      m_pool(tvx::createFixedSizeSamplePool(
          static_cast<IMFMediaStream *>(this), {}, [this](IMFSample **sample) { return createSample(sample); },
          PicturePoolSize))
{
}

CComPtr<IMFMediaType> PatternVideoStream::createType() const
{
    CComPtr<IMFMediaType> type;
    if (FAILED(MFCreateMediaType(&type)))
        return nullptr;
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    type->SetGUID(MF_MT_SUBTYPE, m_settings.subtype);
    type->SetUINT32(MF_MT_ALL_SAMPLES_INDEPENDENT, TRUE);
    type->SetUINT32(MF_MT_FIXED_SIZE_SAMPLES, TRUE);
    type->SetUINT32(MF_MT_INTERLACE_MODE, MFVideoInterlace_Progressive);
    MFSetAttributeSize(type, MF_MT_FRAME_SIZE, static_cast<UINT32>(m_settings.width),
                       static_cast<UINT32>(m_settings.height));
    MFSetAttributeRatio(type, MF_MT_FRAME_RATE, static_cast<UINT32>(m_settings.rateNumerator),
                        static_cast<UINT32>(m_settings.rateDenominator));
    return type;
}

HRESULT PatternVideoStream::makeSample(std::int64_t frame, IMFSample **sample)
{
    const auto number = static_cast<std::uint64_t>(frame);
    m_picture.draw(number, pattern::isFlashFrame(frame, {m_settings.rateNumerator, m_settings.rateDenominator}));
    m_picture.stamp({number, pattern::steadyNowHns()});
    HRESULT hr = m_pool->Pop(sample);
    if (FAILED(hr))
        return hr;
    CComPtr<IMFMediaBuffer> buffer;
    hr = (*sample)->GetBufferByIndex(0, &buffer);
    if (FAILED(hr))
        return hr;
    const MediaBufferMapping2D mapping(buffer, MF2DBuffer_LockFlags_Write);
    if (!mapping.buffer())
        return E_POINTER;
    const pattern::Picture &picture = m_picture.picture();
    const auto bytes = static_cast<std::size_t>(pattern::TestPicture::stride(picture.layout, picture.width));
    for (int y = 0; y < picture.height; ++y)
        std::memcpy(mapping.buffer() + static_cast<std::ptrdiff_t>(y) * mapping.pitch(), picture.line(y), bytes);
    return (*sample)->SetUINT32(MFSampleExtension_CleanPoint, TRUE);
}

HRESULT PatternVideoStream::createSample(IMFSample **sample) const
{
    const bool bottomUp = layoutOf(m_settings.subtype) == pattern::PixelLayout::BGRA;
    const D3DFORMAT format = GetD3DFmtBySubtype(m_settings.subtype);
    const auto width = static_cast<DWORD>(m_settings.width);
    const auto height = static_cast<DWORD>(m_settings.height);
    CComPtr<IMFMediaBuffer> buffer;
    HRESULT hr = MFCreate2DMediaBuffer(width, height, static_cast<DWORD>(format), bottomUp ? TRUE : FALSE, &buffer);
    if (FAILED(hr))
        return hr;
    hr = buffer->SetCurrentLength(width * BytesPerPixel(format) * height);
    if (FAILED(hr))
        return hr;
    CComPtr<IMFSample> made;
    hr = MFCreateVideoSampleFromSurface(nullptr, &made);
    if (FAILED(hr))
        return hr;
    hr = made->AddBuffer(buffer);
    return FAILED(hr) ? hr : made.CopyTo(sample);
}

} // namespace host
