#pragma once

#include "host/pipeline/AsyncCallback.h"
#include "hostfw/ComPtr.h"
#include "hostfw/HnsTime.h"

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace host
{

// Hands samples out in tracked samples of its own, so that it learns when whoever took one has let go of it. Such a
// sample has the buffers, times, flags and attributes of the one that it stands for, which it holds until it is back:
// no pool writes to the buffers meanwhile. Samples that have come back serve again; nothing is copied but attributes.
//
// Threads: any. Lives until it is closed or dropped and every sample has come back.
class SampleLoans : public AsyncCallback
{
public:
    // Times of one steady clock.
    struct Term {
        HnsTime arrival;  // as the lender says
        HnsTime handOver; // when the sample was lent
    };
    // Called when a sample is back, on the thread that has let go of it, until close().
    using ReturnFunction = std::function<void(const Term &)>;

    explicit SampleLoans(ReturnFunction returned);
    ~SampleLoans() override;

    // Null when memory is out.
    CComPtr<IMFSample> lend(IMFSample *original, const Term &term);
    void close();

    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult *result) override;

private:
    class Loan;
    struct StandIn {
        CComPtr<IMFSample> sample;
        CComPtr<Loan> loan;
    };

    StandIn take(bool timed);
    void keep(StandIn standIn);

    std::mutex m_lock; // guards what follows
    std::shared_ptr<const ReturnFunction> m_returned;
    std::vector<StandIn> m_idle;
};

} // namespace host
