#pragma once

#include "hostfw/Export.h"
#include "hostfw/HnsTime.h"
#include "hostfw/MessageQueue.h"

#include <mfobjects.h>

namespace tvx
{

struct ISourceStream;

// Stands between the requests of a stream's consumer and the samples of its producer: both are kept in order and
// matched one to one. Media type changes, gaps and the end of data travel among the samples at the place they were
// pushed. All operations are thread-safe and may be called before the stream is started.
class ISampleRequestManager
{
public:
    virtual ~ISampleRequestManager() = default;

    // The consumer's side. `token` may be null; it returns on the sample as MFSampleExtension_Token.
    // MF_E_END_OF_STREAM once the end of data was delivered; MF_E_INVALIDREQUEST while the stream is not selected and
    // MF_E_MEDIA_SOURCE_WRONGSTATE while it is stopped, so that no request gets in behind the flush of a stop.
    virtual HRESULT RequestSample(IUnknown *token) = 0;

    // The producer's side. A sample without a waiting request is kept until one comes. While the stream is stopped or
    // not selected, samples are dropped (S_FALSE), and so are gaps and the end of data (S_OK).
    virtual HRESULT PushSample(IMFSample *sample) = 0;
    // Delivered through ISourceStream::MediaTypeChanged right before the first sample pushed after it.
    virtual HRESULT PushMediaTypeChange(IMFMediaType *type) = 0;
    virtual HRESULT PushGap(LONGLONG time) = 0;
    // No sample comes after this; delivered through ISourceStream::NotifyEndOfStream when all before it are. Counts
    // once, however often it is pushed, until the next Flush.
    virtual HRESULT PushEndOfData() = 0;

    // Forgets requests, samples, gaps and an undelivered end of data, and takes requests again. A media type change
    // that was not delivered yet is kept, since the producer goes on in that type.
    virtual HRESULT Flush() = 0;
    // Cuts the tie to the stream, which is about to go; everything afterwards returns MF_E_SHUTDOWN.
    virtual void Shutdown() = 0;
};

// `stream` is not referenced; it calls Shutdown() before it goes.
// `limit`: samples that lie further than this before the newest one waiting are dropped; INT64_MAX keeps all.
// `deliveryQueue`: where samples are delivered to the stream; null: on the thread that completes the match.
// `requestQueue`: where the stream is asked for frames (ISourceStream::RequestFrame) for requests that no sample waits
//  for; null: on the thread that requests. At most one frame request per unanswered sample request is under way; a
//  frame request is under way until every item it pushed onto the queue, directly or through other items, has ended.
//  One that ended with S_OK without answering its sample request is made again; one that returned S_FALSE or failed is
//  not, until the next RequestSample.
// Both queues are copied. Never null; throws std::bad_alloc when memory is out. Owned by the caller.
MULTIMEDIA_EXPORT ISampleRequestManager *createBufferingSampleRequestManager(ISourceStream *stream,
                                                                             const HnsTime &limit,
                                                                             const MFMessageQueue *deliveryQueue,
                                                                             const MFMessageQueue *requestQueue);

} // namespace tvx
