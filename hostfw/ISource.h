#pragma once

#include "hostfw/Export.h"

#include <mfidl.h>
#include <mfobjects.h>

#include <list>
#include <memory>

#include "hostfw/ComPtr.h"

namespace tvx
{

struct ISourceStream;

// A media source as its own streams see it.
struct ISource : public IMFMediaSourceEx {
    // A stream delivered its last sample. When every selected stream has, the source's presentation ends, once until
    // the next start, seek or stop. A stream that is stopped or not selected does not count.
    virtual HRESULT NotifyEndOfStream(ISourceStream *stream) = 0;
    // A stream has stopped by itself.
    virtual HRESULT NotifyStopped(ISourceStream *stream) = 0;
    // Takes the source out of service: Start fails from now on with MF_E_INVALIDREQUEST.
    virtual void Disable() = 0;

protected:
    ~ISource() = default;
};

// A media stream as its source and its request manager see it. Times are in 100 ns units.
struct ISourceStream : public IMFMediaStream {
    // Builds the stream descriptor from the stream's media types; the first one is its current type.
    virtual HRESULT Initialize() = 0;
    virtual HRESULT Uninitialize() = 0;

    // The source's side: the type that the consumer chose in the presentation descriptor.
    virtual HRESULT SetMediaType(IMFMediaType *type) = 0;
    // The request manager's side: from the next sample on, samples are of this type.
    virtual HRESULT MediaTypeChanged(IMFMediaType *type) = 0;

    virtual bool IsSelected() const = 0;
    virtual HRESULT SetSelected(bool selected) = 0;
    virtual bool IsEnded() const = 0;
    virtual bool IsStopped() const = 0;

    // `position` is what IMFMediaSource::Start was given: VT_I8, or VT_EMPTY for the current position.
    virtual HRESULT Start(const PROPVARIANT &position) = 0;
    virtual HRESULT Stop() = 0;
    virtual HRESULT Pause() = 0;
    virtual HRESULT Seek(const PROPVARIANT &position) = 0;
    virtual HRESULT SetRate(float rate) = 0;
    // Makes the producer work towards one more sample. S_OK: on its way; S_FALSE: nothing to take it from now.
    virtual HRESULT RequestFrame() = 0;
    virtual HRESULT SetThinMode(bool thin) = 0;

    // The request manager's side. S_FALSE: dropped, since the stream has stopped meanwhile.
    virtual HRESULT DeliverSample(IMFSample *sample, IUnknown *token) = 0;
    virtual HRESULT NotifyEndOfStream() = 0;
    virtual HRESULT NotifyGap(LONGLONG time) = 0;
    virtual HRESULT NotifyStopped() = 0;

    // 0 when the stream has no end.
    virtual LONGLONG GetDuration() const = 0;
    virtual HRESULT GetShutdownStatus(MFSHUTDOWN_STATUS *status) = 0;
    virtual HRESULT Shutdown() = 0;
    // An IMFDXGIDeviceManager, or null for none.
    virtual HRESULT SetD3DManager(IUnknown *manager) = 0;

protected:
    ~ISourceStream() = default;
};

} // namespace tvx
