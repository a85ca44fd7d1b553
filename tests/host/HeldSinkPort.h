#pragma once

// A port before a sink that holds what it gets and sends at the declared rate.

#include "host/pipeline/SinkPort.h"
#include "host/pipeline/StreamFeed.h"
#include "tests/host/EventLoop.h"
#include "tests/host/FakeMediaSink.h"
#include "tests/host/FakeNodes.h"

#include <mfapi.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

class HeldSinkPort : public testing::Test
{
protected:
    static constexpr LONGLONG Hour = 36000000000;
    // One that a sink holds is as much as it may hold.
    static constexpr LONGLONG Long = 2000000;

    static CComPtr<IMFSample> makeSample(LONGLONG time, LONGLONG duration)
    {
        CComPtr<IMFSample> sample;
        MFCreateSample(&sample);
        sample->SetSampleTime(time);
        if (duration > 0)
            sample->SetSampleDuration(duration);
        return sample;
    }
    static unsigned long references(const CComPtr<IMFSample> &sample)
    {
        sample.p->AddRef();
        return sample.p->Release();
    }

    void SetUp() override
    {
        ASSERT_EQ(S_OK, m_port->open());
        m_port->setFeed(m_feed);
    }
    void TearDown() override
    {
        if (m_port)
            m_port->close();
        m_sink->release(SIZE_MAX);
    }

    static std::shared_ptr<host::StreamFeed> makeFeed(bool live)
    {
        return std::make_shared<host::StreamFeed>(
            pictureType(64, 32), live,
            host::StreamFeed::Callbacks{[](HRESULT) {}, [](IMFMediaType *) {}, [](HRESULT) {}});
    }
    // The sink runs and asks for so many samples. What it tells is through when this returns.
    void start(int requests)
    {
        m_sink->tell(MEStreamSinkStarted);
        request(requests);
        ASSERT_TRUE(m_port->isStarted());
    }
    void request(int count)
    {
        for (; count > 0; --count)
            m_sink->tell(MEStreamSinkRequestSample);
        settle();
    }
    void stop()
    {
        m_sink->tell(MEStreamSinkStopped);
        settle();
    }
    void settle()
    {
        const int before = *m_failures;
        m_sink->tell(MEError);
        ASSERT_TRUE(waitUntil([&] { return *m_failures > before; }));
    }
    HRESULT offer(LONGLONG time, LONGLONG duration) { return m_port->offer(*m_feed, makeSample(time, duration)); }
    unsigned long long leftOut() const
    {
        const host::PortFigures figures = m_port->figures();
        return figures.leftOutFirst + figures.leftOutLate + figures.leftOutFull;
    }
    // Until a stream's first moments are over. The sink has room again when this returns.
    void passBeginning()
    {
        start(1000);
        unsigned long long offered = 0;
        ASSERT_TRUE(waitUntil([&] {
            offer(0, 0);
            ++offered;
            return m_port->figures().leftOutFull > 0;
        }));
        ASSERT_TRUE(waitUntil([&] {
            m_sink->release(SIZE_MAX);
            return m_port->figures().samples + leftOut() == offered && m_port->figures().held == 0;
        }));
    }
    bool gets(const std::vector<std::string> &log)
    {
        return waitUntil([&] { return m_sink->log().size() >= log.size(); }) && m_sink->log() == log;
    }

    const std::shared_ptr<std::atomic<int>> m_failures = std::make_shared<std::atomic<int>>(0);
    const CComPtr<HoldingSink> m_sink = host::createObject<HoldingSink>(
        CComPtr<IMFMediaSink>(host::createObject<FakeMediaSink>(MEDIASINK_FIXED_STREAMS).p));
    std::shared_ptr<host::SinkPort> m_port = std::make_shared<host::SinkPort>(
        m_sink.p, host::SinkPort::Callbacks{[failures = m_failures](HRESULT) { ++*failures; }, [] {}},
        std::make_shared<host::SinkActivity>(), QStringLiteral("Studio, picture"));
    const std::shared_ptr<host::StreamFeed> m_feed = makeFeed(true);
};
