#pragma once

#include "host/source/PatternPace.h"
#include "host/source/PatternSettings.h"

#include "hostfw/BaseSourceStream.h"
#include "hostfw/MessageQueue.h"

#include <list>
#include <memory>

namespace host
{

// What the two streams of a test pattern source have in common: frame after frame, each made when it is due.
//
// Frames are made on the stream's own queue, which is allowed to wait. Ownership: by the source, like every stream.
class PatternStream : public CBaseSourceStream
{
public:
    PatternStream(tvx::ISource *source, DWORD id, const PatternSettings &settings, std::shared_ptr<PatternPace> pace,
                  const tvx::MFMessageQueue &queue);

    HRESULT RequestFrame() override;
    HRESULT Start(const PROPVARIANT &position) override;

protected:
    HRESULT OnSeek(const PROPVARIANT &) override { return E_NOTIMPL; }
    std::list<CComPtr<IMFMediaType>> GetMediaTypes() const override;
    HRESULT setMediaType(IMFMediaType *type) override;

    // The stream's one type, made by the subclass.
    virtual CComPtr<IMFMediaType> createType() const = 0;
    virtual HRESULT makeSample(std::int64_t frame, IMFSample **sample) = 0;

    // When a frame of the pattern begins, 100 ns units from the start.
    LONGLONG frameStart(std::int64_t frame) const;

    const PatternSettings m_settings;

private:
    const std::shared_ptr<PatternPace> m_pace;
    std::int64_t m_next = 0; // the frame to be made; on the queue, and in Start before anything is requested
};

} // namespace host
