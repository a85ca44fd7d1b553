#pragma once

#include "hostfw/ComPtr.h"
#include "multimedia/AsyncCallback.h"

#include <mfidl.h>

#include <mutex>
#include <vector>

namespace tvx
{

// Where tracked samples come back to when their last reference goes, on whatever thread that happens. Shared by a pool
// and by its samples in use: it outlives the pool, and the pool's forgetting it.
class SampleRecycler : public AsyncCallback
{
public:
    // Keeps at most `limit` idle samples.
    explicit SampleRecycler(DWORD limit);

    // A sample has come back.
    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult *result) override;

    // An idle sample with everything on it cleared but its buffers, which nobody else holds; or null.
    CComPtr<IMFSample> take();
    // Makes the sample come back here, with the buffer it has now if that is the only one. A sample that cannot be
    // tracked is left alone.
    void track(IMFSample *sample);
    // Frees the idle samples, and from now on those that come back.
    void close();

private:
    void keep(CComPtr<IMFSample> sample);

    const DWORD m_limit;
    std::mutex m_mutex;                     // guards everything below
    std::vector<CComPtr<IMFSample>> m_idle; // the one that came back last is the last
    ULONG m_ownReferences = 0;              // on the buffer of a sample that nobody has used yet; 0: none was seen
    bool m_closed = false;
};

} // namespace tvx
