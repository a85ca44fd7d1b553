#include "source/NDISourceMF.h"

#include "hostfw/ComException.h"
#include "plugin/AsyncOperationInterrupted.h"
#include "tests/source/SourceHarness.h"

#include <QtCore/QMetaMethod>

#include <thread>

namespace
{

class NDISourceMFTest : public SourceTest
{
};

} // namespace

TEST_F(NDISourceMFTest, HasItsTwoSignalsInOrder)
{
    const QMetaObject &meta = NDISourceMF::staticMetaObject;
    ASSERT_EQ(2, meta.methodCount() - meta.methodOffset());
    EXPECT_EQ(QByteArray("sessionRecreationRequested()"), meta.method(meta.methodOffset()).methodSignature());
    EXPECT_EQ(QByteArray("metadataRecieved(QByteArray)"), meta.method(meta.methodOffset() + 1).methodSignature());
    EXPECT_EQ(QMetaMethod::Signal, meta.method(meta.methodOffset() + 1).methodType());
}

TEST_F(NDISourceMFTest, ConnectsInTheFastestFormatAtTheHighestBandwidthWithFields)
{
    const auto source = makeSource();
    const auto calls = ndi.calls();
    ASSERT_EQ(1u, calls.receiverSettings.size());
    EXPECT_EQ(NDIlib_recv_color_format_fastest, calls.receiverSettings[0].color_format);
    EXPECT_EQ(NDIlib_recv_bandwidth_highest, calls.receiverSettings[0].bandwidth);
    EXPECT_TRUE(calls.receiverSettings[0].allow_video_fields);
    EXPECT_EQ(std::make_pair(std::string("HOST (Camera)"), std::string("10.0.0.1:5961")), calls.connectedTo[0]);
    ASSERT_EQ(1u, calls.findSettings.size());
    EXPECT_TRUE(calls.findSettings[0].show_local_sources);
    EXPECT_EQ(calls.findersMade, calls.findersDestroyed);
    DWORD characteristics = 0;
    EXPECT_EQ(S_OK, source->GetCharacteristics(&characteristics));
    EXPECT_EQ(DWORD(MFMEDIASOURCE_IS_LIVE), characteristics);
}

TEST_F(NDISourceMFTest, ASenderAtAnotherAddressIsNotTakenAndTheSearchWaitsInStepsOf250Ms)
{
    ndi.setSources({{"HOST (Camera)", "10.0.0.9:5961"}});
    CComPtr<NDISourceMF> source;
    std::thread search([&] {
        HRESULT hr = S_OK;
        source = new NDISourceMF(hr, parameters());
    });
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.waits >= 2; }));
    EXPECT_TRUE(ndi.calls().connectedTo.empty());
    for (const uint32_t timeout : ndi.calls().waitTimeouts)
        EXPECT_EQ(250u, timeout);
    ndi.setSources({{"HOST (Camera)", "10.0.0.9:5961"}, {"HOST (Camera)", "10.0.0.1:5961"}});
    search.join();
    EXPECT_EQ("10.0.0.1:5961", ndi.calls().connectedTo.at(0).second);
}

TEST_F(NDISourceMFTest, OfTwoSendersWithTheSameNameAndAddressTheFirstIsTaken)
{
    // One name to Qt, since neither is UTF-8, but two to whoever looks at the bytes.
    const std::string oneName = "Camera \xfe";
    const std::string otherName = "Camera \xff";
    ndi.setSources({{oneName, "10.0.0.1:5961"}, {otherName, "10.0.0.1:5961"}});
    auto params = parameters();
    params.input = NDIInput(QStringLiteral("Camera \ufffd"), params.input.address());
    const auto source = makeSource(params);
    ASSERT_EQ(1U, ndi.calls().connectedTo.size());
    EXPECT_EQ(oneName, ndi.calls().connectedTo[0].first);
}

TEST_F(NDISourceMFTest, WithoutAStreamConstructionFailsAfterTheReceiverWasMadeAndDestroysItWithTheObject)
{
    HRESULT hr = S_OK;
    CComPtr<NDISourceMF> source(new NDISourceMF(hr, parameters(false, false)));
    EXPECT_EQ(E_FAIL, hr);
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "No NDI streams found"));
    EXPECT_EQ(1, ndi.calls().receiversMade);
    EXPECT_EQ(0, ndi.calls().receiversDestroyed);
    source.Release();
    EXPECT_EQ(1, ndi.calls().receiversDestroyed);
}

TEST_F(NDISourceMFTest, WithoutAFinderConstructionReportsEPointer)
{
    ndi.refuseFinders(true);
    HRESULT hr = S_OK;
    const CComPtr<NDISourceMF> source(new NDISourceMF(hr, parameters()));
    EXPECT_EQ(E_POINTER, hr);
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [finder is null]"));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "Null pointer"));
}

TEST_F(NDISourceMFTest, WithoutAReceiverConstructionReportsEPointer)
{
    ndi.refuseReceivers(true);
    HRESULT hr = S_OK;
    const CComPtr<NDISourceMF> source(new NDISourceMF(hr, parameters()));
    EXPECT_EQ(E_POINTER, hr);
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [reciever is null]"));
    EXPECT_EQ(1, ndi.calls().findersDestroyed);
}

TEST_F(NDISourceMFTest, ACancelledSearchLeavesTheConstructor)
{
    ndi.setSources({});
    const auto params = parameters();
    params.cancellationToken->cancel();
    HRESULT hr = S_OK;
    EXPECT_THROW(NDISourceMF(hr, params), AsyncOperationInterrupted);
    EXPECT_EQ(1, ndi.calls().findersDestroyed);
}

TEST_F(NDISourceMFTest, AudioAloneIsStreamOneAndTheSourceIsNotMarkedForDirect3D)
{
    const auto source = makeSource(parameters(false, true));
    CComPtr<IMFPresentationDescriptor> descriptor;
    ASSERT_EQ(S_OK, source->CreatePresentationDescriptor(&descriptor));
    DWORD count = 0;
    descriptor->GetStreamDescriptorCount(&count);
    ASSERT_EQ(1u, count);
    BOOL selected = FALSE;
    CComPtr<IMFStreamDescriptor> stream;
    descriptor->GetStreamDescriptorByIndex(0, &selected, &stream);
    DWORD identifier = 99;
    stream->GetStreamIdentifier(&identifier);
    EXPECT_EQ(1u, identifier);
    CComPtr<IMFAttributes> attributes;
    ASSERT_EQ(S_OK, source->GetSourceAttributes(&attributes));
    UINT32 aware = 0;
    EXPECT_EQ(MF_E_ATTRIBUTENOTFOUND, attributes->GetUINT32(MF_SA_D3D11_AWARE, &aware));
}

TEST_F(NDISourceMFTest, ASourceWithVideoIsMarkedForDirect3D)
{
    const auto source = makeSource(parameters(true, false));
    CComPtr<IMFAttributes> attributes;
    ASSERT_EQ(S_OK, source->GetSourceAttributes(&attributes));
    UINT32 aware = 0;
    EXPECT_EQ(S_OK, attributes->GetUINT32(MF_SA_D3D11_AWARE, &aware));
    EXPECT_EQ(1u, aware);
}

TEST_F(NDISourceMFTest, TheTallyIsAppliedAtOnceAndByEveryNewReceiver)
{
    const auto source = makeSource();
    NDIlib_tally_t tally;
    tally.on_program = true;
    source->setTally(tally);
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.tallies.size() == 2; }));
    EXPECT_FALSE(ndi.calls().tallies[0].on_program);
    EXPECT_TRUE(ndi.calls().tallies[1].on_program);
    EXPECT_FALSE(ndi.calls().tallies[1].on_preview);
    start(source);
    ASSERT_EQ(S_OK, source->Stop());
    ASSERT_TRUE(waitForEvent(source, MESourceStopped));
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversDestroyed == 1; }));
    // Without a receiver it is only kept.
    tally.on_preview = true;
    source->setTally(tally);
    start(source);
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.tallies.size() == 3; }));
    EXPECT_TRUE(ndi.calls().tallies[2].on_program);
    EXPECT_TRUE(ndi.calls().tallies[2].on_preview);
    source->Shutdown();
}
