#pragma once

// The system's own media session with the source in it.

#include "hostfw/Topology.h"
#include "tests/source/EventReader.h"
#include "tests/source/SourceHarness.h"

// A session and the source that it plays. The topology is the test's.
class SessionTest : public SourceTest
{
protected:
    void SetUp() override
    {
        SourceTest::SetUp();
        ASSERT_EQ(S_OK, MFCreateMediaSession(nullptr, &m_session));
    }
    void TearDown() override
    {
        if (m_session)
            close();
        SourceTest::TearDown();
    }

    // As an application is told to: the session holds the source until the source is shut down.
    void close()
    {
        EXPECT_EQ(S_OK, m_session->Close());
        EXPECT_EQ(S_OK, statusOf(MESessionClosed));
        if (m_source) {
            EXPECT_EQ(S_OK, m_source->Shutdown());
        }
        EXPECT_EQ(S_OK, m_session->Shutdown());
        m_source.Release();
        m_session.Release();
    }

    // The status of the session's next event of that kind. Those of a change of state are written down.
    HRESULT statusOf(MediaEventType wanted)
    {
        while (const auto event = nextEvent(m_session)) {
            MediaEventType type = MEUnknown;
            HRESULT status = E_PENDING;
            event->GetType(&type);
            event->GetStatus(&status);
            if (isChangeOfState(type))
                m_changes.push_back(type);
            if (type == wanted)
                return status;
        }
        ADD_FAILURE() << "no event of type " << wanted;
        return E_PENDING;
    }
    static bool isChangeOfState(MediaEventType type)
    {
        return type == MESessionTopologySet || type == MESessionStarted || type == MESessionPaused ||
               type == MESessionStopped || type == MESessionClosed;
    }

    // The source's stream of that kind as the beginning of a branch, and its type.
    void addSourceNode(IMFTopology *topology, IMFPresentationDescriptor *descriptor, const GUID &majorType,
                       CComPtr<IMFTopologyNode> &node, CComPtr<IMFMediaType> &type)
    {
        DWORD index = 0;
        node = createMediaSourceNode(m_source.p, descriptor, majorType, &index);
        ASSERT_TRUE(node);
        ASSERT_EQ(S_OK, descriptor->SelectStream(index));
        CComPtr<IMFStreamDescriptor> stream;
        CComPtr<IMFMediaTypeHandler> handler;
        BOOL selected = FALSE;
        ASSERT_EQ(S_OK, descriptor->GetStreamDescriptorByIndex(index, &selected, &stream));
        ASSERT_EQ(S_OK, stream->GetMediaTypeHandler(&handler));
        ASSERT_EQ(S_OK, handler->GetCurrentMediaType(&type));
        ASSERT_EQ(S_OK, topology->AddNode(node));
    }

    void setTopology(IMFTopology *topology)
    {
        ASSERT_EQ(S_OK, m_session->SetTopology(0, topology));
        ASSERT_EQ(S_OK, statusOf(MESessionTopologySet));
    }

    // From the beginning: a sink that has not started does not go on from where it is.
    void start()
    {
        PROPVARIANT beginning;
        PropVariantInit(&beginning);
        beginning.vt = VT_I8;
        ASSERT_NO_FATAL_FAILURE(startFrom(beginning));
    }

    void carryOn()
    {
        PROPVARIANT current;
        PropVariantInit(&current);
        ASSERT_NO_FATAL_FAILURE(startFrom(current));
    }

    void stop()
    {
        ASSERT_EQ(S_OK, m_session->Stop());
        ASSERT_EQ(S_OK, statusOf(MESessionStopped));
    }

    void pause()
    {
        ASSERT_EQ(S_OK, m_session->Pause());
        ASSERT_EQ(S_OK, statusOf(MESessionPaused));
    }

    CComPtr<IMFMediaSession> m_session;
    CComPtr<NDISourceMF> m_source;
    std::vector<MediaEventType> m_changes;

private:
    void startFrom(const PROPVARIANT &position)
    {
        ASSERT_EQ(S_OK, m_session->Start(&GUID_NULL, &position));
        ASSERT_EQ(S_OK, statusOf(MESessionStarted));
    }
};
