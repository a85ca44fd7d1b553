#include "tests/platform/AsyncSupport.h"

namespace
{

CComPtr<IMFTopologyNode> makeNode(MF_TOPOLOGY_TYPE type)
{
    CComPtr<IMFTopologyNode> node;
    EXPECT_EQ(MFCreateTopologyNode(type, &node), S_OK);
    return node;
}

TOPOID idOf(IMFTopologyNode *node)
{
    TOPOID id = 0;
    EXPECT_EQ(node->GetTopoNodeID(&id), S_OK);
    return id;
}

WORD countOf(IMFTopology *topology)
{
    WORD count = 0;
    EXPECT_EQ(topology->GetNodeCount(&count), S_OK);
    return count;
}

DWORD countOf(IMFCollection *collection)
{
    DWORD count = 0;
    EXPECT_EQ(collection->GetElementCount(&count), S_OK);
    return count;
}

// A source, a tee and an output in a row, as nodes of a topology.
class Topology : public StartedPlatform
{
protected:
    void SetUp() override
    {
        StartedPlatform::SetUp();
        ASSERT_EQ(MFCreateTopology(&topology), S_OK);
        for (const auto &node : {source, tee, output})
            ASSERT_EQ(topology->AddNode(node), S_OK);
    }
    void TearDown() override
    {
        topology->Clear();
        topology.Release();
        StartedPlatform::TearDown();
    }
    void connect()
    {
        ASSERT_EQ(source->ConnectOutput(0, tee, 0), S_OK);
        ASSERT_EQ(tee->ConnectOutput(0, output, 0), S_OK);
    }

    CComPtr<IMFTopology> topology;
    const CComPtr<IMFTopologyNode> source = makeNode(MF_TOPOLOGY_SOURCESTREAM_NODE);
    const CComPtr<IMFTopologyNode> tee = makeNode(MF_TOPOLOGY_TEE_NODE);
    const CComPtr<IMFTopologyNode> output = makeNode(MF_TOPOLOGY_OUTPUT_NODE);
};

} // namespace

TEST(TopologyNode, KnowsItsTypeAndHasAnIdentifierOfItsOwn)
{
    const auto source = makeNode(MF_TOPOLOGY_SOURCESTREAM_NODE);
    const auto output = makeNode(MF_TOPOLOGY_OUTPUT_NODE);
    MF_TOPOLOGY_TYPE type = MF_TOPOLOGY_MAX;
    EXPECT_EQ(source->GetNodeType(&type), S_OK);
    EXPECT_EQ(type, MF_TOPOLOGY_SOURCESTREAM_NODE);
    EXPECT_EQ(output->GetNodeType(&type), S_OK);
    EXPECT_EQ(type, MF_TOPOLOGY_OUTPUT_NODE);
    EXPECT_NE(idOf(source), 0U);
    EXPECT_NE(idOf(source), idOf(output));
    EXPECT_EQ(source->SetTopoNodeID(1234), S_OK);
    EXPECT_EQ(idOf(source), 1234U);
}

TEST(TopologyNode, HoldsAnObject)
{
    const auto node = makeNode(MF_TOPOLOGY_OUTPUT_NODE);
    const CComPtr<IUnknown> token = makeToken();
    CComPtr<IUnknown> found;
    EXPECT_EQ(node->GetObject(&found), E_FAIL);
    ASSERT_EQ(node->SetObject(token), S_OK);
    ASSERT_EQ(node->GetObject(&found), S_OK);
    EXPECT_EQ(found.p, token.p);
    found.Release();
    ASSERT_EQ(node->SetObject(nullptr), S_OK);
    EXPECT_EQ(node->GetObject(&found), E_FAIL);
}

TEST(TopologyNode, IsAnAttributeStore)
{
    const auto node = makeNode(MF_TOPOLOGY_SOURCESTREAM_NODE);
    const CComPtr<IUnknown> token = makeToken();
    ASSERT_EQ(node->SetUnknown(MF_TOPONODE_SOURCE, token), S_OK);
    CComPtr<IUnknown> found;
    ASSERT_EQ(node->GetUnknown(MF_TOPONODE_SOURCE, __uuidof(IUnknown), reinterpret_cast<void **>(&found)), S_OK);
    EXPECT_EQ(found.p, token.p);
    CComPtr<IMFAttributes> attributes;
    EXPECT_EQ(node.QueryInterface(&attributes), S_OK);
}

TEST(TopologyNode, ConnectsAnOutputToAnInput)
{
    const auto source = makeNode(MF_TOPOLOGY_SOURCESTREAM_NODE);
    const auto transform = makeNode(MF_TOPOLOGY_TRANSFORM_NODE);
    DWORD count = 0;
    DWORD index = 99;
    CComPtr<IMFTopologyNode> peer;
    ASSERT_EQ(source->ConnectOutput(1, transform, 2), S_OK);
    EXPECT_EQ(source->GetOutputCount(&count), S_OK);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(transform->GetInputCount(&count), S_OK);
    EXPECT_EQ(count, 3U);
    ASSERT_EQ(source->GetOutput(1, &peer, &index), S_OK);
    EXPECT_EQ(peer.p, transform.p);
    EXPECT_EQ(index, 2U);
    peer.Release();
    ASSERT_EQ(transform->GetInput(2, &peer, &index), S_OK);
    EXPECT_EQ(peer.p, source.p);
    EXPECT_EQ(index, 1U);
    peer.Release();
    EXPECT_EQ(source->GetOutput(0, &peer, &index), MF_E_NOT_FOUND);
    EXPECT_EQ(source->GetOutput(2, &peer, &index), E_INVALIDARG);
    EXPECT_EQ(source->DisconnectOutput(1), S_OK);
    EXPECT_EQ(transform->GetInput(2, &peer, &index), MF_E_NOT_FOUND);
}

TEST(TopologyNode, ANewConnectionReplacesTheOldOnes)
{
    const auto first = makeNode(MF_TOPOLOGY_SOURCESTREAM_NODE);
    const auto second = makeNode(MF_TOPOLOGY_SOURCESTREAM_NODE);
    const auto output = makeNode(MF_TOPOLOGY_OUTPUT_NODE);
    DWORD index = 0;
    CComPtr<IMFTopologyNode> peer;
    ASSERT_EQ(first->ConnectOutput(0, output, 0), S_OK);
    ASSERT_EQ(second->ConnectOutput(0, output, 0), S_OK);
    EXPECT_EQ(first->GetOutput(0, &peer, &index), MF_E_NOT_FOUND);
    ASSERT_EQ(output->GetInput(0, &peer, &index), S_OK);
    EXPECT_EQ(peer.p, second.p);
    EXPECT_EQ(second->DisconnectOutput(0), S_OK);
}

TEST(TopologyNode, DisconnectsOnlyWhatIsConnected)
{
    const auto source = makeNode(MF_TOPOLOGY_SOURCESTREAM_NODE);
    const auto output = makeNode(MF_TOPOLOGY_OUTPUT_NODE);
    ASSERT_EQ(source->ConnectOutput(0, output, 0), S_OK);
    EXPECT_EQ(source->DisconnectOutput(0), S_OK);
    EXPECT_EQ(source->DisconnectOutput(0), MF_E_NOT_FOUND);
    EXPECT_EQ(source->DisconnectOutput(5), E_INVALIDARG);
}

TEST(TopologyNode, HasNoInputOfASourceAndNoOutputOfAnOutput)
{
    const auto source = makeNode(MF_TOPOLOGY_SOURCESTREAM_NODE);
    const auto transform = makeNode(MF_TOPOLOGY_TRANSFORM_NODE);
    const auto output = makeNode(MF_TOPOLOGY_OUTPUT_NODE);
    CComPtr<IMFMediaType> type;
    ASSERT_EQ(MFCreateMediaType(&type), S_OK);
    EXPECT_EQ(transform->ConnectOutput(0, source, 0), E_FAIL);
    EXPECT_EQ(output->ConnectOutput(0, transform, 0), E_FAIL);
    EXPECT_EQ(source->SetInputPrefType(0, type), E_NOTIMPL);
    EXPECT_EQ(output->SetOutputPrefType(0, type), E_NOTIMPL);
}

TEST(TopologyNode, IsNotConnectedToNothing)
{
    const auto source = makeNode(MF_TOPOLOGY_SOURCESTREAM_NODE);
    EXPECT_EQ(source->ConnectOutput(0, nullptr, 0), E_UNEXPECTED);
    DWORD count = 99;
    EXPECT_EQ(source->GetOutputCount(&count), S_OK);
    EXPECT_EQ(count, 0U);
}

TEST(TopologyNode, OfATeeHasOneInput)
{
    const auto tee = makeNode(MF_TOPOLOGY_TEE_NODE);
    CComPtr<IMFMediaType> type;
    ASSERT_EQ(MFCreateMediaType(&type), S_OK);
    EXPECT_EQ(tee->SetInputPrefType(1, type), MF_E_INVALIDTYPE);
    EXPECT_EQ(tee->SetInputPrefType(0, type), S_OK);
}

TEST(TopologyNode, KeepsPreferredTypes)
{
    const auto node = makeNode(MF_TOPOLOGY_TRANSFORM_NODE);
    CComPtr<IMFMediaType> type;
    CComPtr<IMFMediaType> found;
    ASSERT_EQ(MFCreateMediaType(&type), S_OK);
    EXPECT_EQ(node->GetInputPrefType(0, &found), E_INVALIDARG);
    ASSERT_EQ(node->SetInputPrefType(1, type), S_OK);
    EXPECT_EQ(node->GetInputPrefType(0, &found), E_FAIL);
    ASSERT_EQ(node->GetInputPrefType(1, &found), S_OK);
    EXPECT_EQ(found.p, type.p);
    found.Release();
    ASSERT_EQ(node->SetOutputPrefType(0, type), S_OK);
    ASSERT_EQ(node->GetOutputPrefType(0, &found), S_OK);
    EXPECT_EQ(found.p, type.p);
    found.Release();
    ASSERT_EQ(node->SetOutputPrefType(0, nullptr), S_OK);
    EXPECT_EQ(node->GetOutputPrefType(0, &found), E_FAIL);
}

TEST(TopologyNode, ClonesAllButTheConnections)
{
    const auto original = makeNode(MF_TOPOLOGY_SOURCESTREAM_NODE);
    const auto output = makeNode(MF_TOPOLOGY_OUTPUT_NODE);
    const auto copy = makeNode(MF_TOPOLOGY_SOURCESTREAM_NODE);
    const CComPtr<IUnknown> token = makeToken();
    CComPtr<IMFMediaType> type;
    ASSERT_EQ(MFCreateMediaType(&type), S_OK);
    ASSERT_EQ(original->SetUnknown(MF_TOPONODE_SOURCE, token), S_OK);
    ASSERT_EQ(original->SetOutputPrefType(0, type), S_OK);
    ASSERT_EQ(original->ConnectOutput(0, output, 0), S_OK);
    ASSERT_EQ(copy->CloneFrom(original), S_OK);
    EXPECT_EQ(idOf(copy), idOf(original));
    UINT32 attributes = 0;
    EXPECT_EQ(copy->GetCount(&attributes), S_OK);
    EXPECT_EQ(attributes, 1U);
    CComPtr<IMFMediaType> foundType;
    EXPECT_EQ(copy->GetOutputPrefType(0, &foundType), S_OK);
    CComPtr<IMFTopologyNode> peer;
    DWORD index = 0;
    EXPECT_EQ(copy->GetOutput(0, &peer, &index), MF_E_NOT_FOUND);
    EXPECT_EQ(copy->CloneFrom(output), MF_E_INVALIDREQUEST);
    EXPECT_EQ(original->DisconnectOutput(0), S_OK);
}

TEST_F(Topology, HoldsItsNodesByIndexAndIdentifier)
{
    CComPtr<IMFTopologyNode> found;
    EXPECT_EQ(countOf(topology), 3);
    ASSERT_EQ(topology->GetNode(1, &found), S_OK);
    EXPECT_EQ(found.p, tee.p);
    found.Release();
    ASSERT_EQ(topology->GetNodeByID(idOf(output), &found), S_OK);
    EXPECT_EQ(found.p, output.p);
    found.Release();
    EXPECT_EQ(topology->GetNode(3, &found), MF_E_INVALIDINDEX);
    EXPECT_EQ(topology->GetNodeByID(0xdeadbeef, &found), MF_E_NOT_FOUND);
}

TEST_F(Topology, TakesANodeOnce)
{
    EXPECT_EQ(topology->AddNode(source), E_INVALIDARG);
    EXPECT_EQ(topology->AddNode(nullptr), E_POINTER);
    EXPECT_EQ(countOf(topology), 3);
}

TEST_F(Topology, HasAnIdentifierOfItsOwn)
{
    CComPtr<IMFTopology> other;
    ASSERT_EQ(MFCreateTopology(&other), S_OK);
    TOPOID mine = 0;
    TOPOID theirs = 0;
    EXPECT_EQ(topology->GetTopologyID(&mine), S_OK);
    EXPECT_EQ(other->GetTopologyID(&theirs), S_OK);
    EXPECT_NE(mine, theirs);
}

TEST_F(Topology, DisconnectsANodeThatIsRemoved)
{
    ASSERT_NO_FATAL_FAILURE(connect());
    CComPtr<IMFTopologyNode> peer;
    DWORD index = 0;
    ASSERT_EQ(topology->RemoveNode(tee), S_OK);
    EXPECT_EQ(countOf(topology), 2);
    EXPECT_EQ(source->GetOutput(0, &peer, &index), MF_E_NOT_FOUND);
    EXPECT_EQ(output->GetInput(0, &peer, &index), MF_E_NOT_FOUND);
    EXPECT_EQ(topology->RemoveNode(tee), E_INVALIDARG);
}

TEST_F(Topology, LosesEverything_WhenCleared)
{
    ASSERT_NO_FATAL_FAILURE(connect());
    CComPtr<IMFTopologyNode> peer;
    DWORD index = 0;
    EXPECT_EQ(topology->Clear(), S_OK);
    EXPECT_EQ(countOf(topology), 0);
    EXPECT_EQ(source->GetOutput(0, &peer, &index), MF_E_NOT_FOUND);
}

TEST_F(Topology, CollectsSourcesAndOutputs)
{
    CComPtr<IMFCollection> sources;
    CComPtr<IMFCollection> outputs;
    CComPtr<IUnknown> found;
    ASSERT_EQ(topology->GetSourceNodeCollection(&sources), S_OK);
    ASSERT_EQ(topology->GetOutputNodeCollection(&outputs), S_OK);
    ASSERT_EQ(countOf(sources), 1U);
    ASSERT_EQ(countOf(outputs), 1U);
    ASSERT_EQ(sources->GetElement(0, &found), S_OK);
    EXPECT_TRUE(found.IsEqualObject(source));
    found.Release();
    ASSERT_EQ(outputs->GetElement(0, &found), S_OK);
    EXPECT_TRUE(found.IsEqualObject(output));
}

TEST_F(Topology, ClonesNodesAndConnections)
{
    ASSERT_NO_FATAL_FAILURE(connect());
    CComPtr<IMFTopology> copy;
    ASSERT_EQ(MFCreateTopology(&copy), S_OK);
    ASSERT_EQ(copy->CloneFrom(topology), S_OK);
    EXPECT_EQ(countOf(copy), 3);
    CComPtr<IMFTopologyNode> copiedSource;
    CComPtr<IMFTopologyNode> copiedTee;
    CComPtr<IMFTopologyNode> peer;
    DWORD index = 99;
    ASSERT_EQ(copy->GetNodeByID(idOf(source), &copiedSource), S_OK);
    ASSERT_EQ(copy->GetNodeByID(idOf(tee), &copiedTee), S_OK);
    EXPECT_NE(copiedSource.p, source.p);
    ASSERT_EQ(copiedSource->GetOutput(0, &peer, &index), S_OK);
    EXPECT_EQ(peer.p, copiedTee.p);
    EXPECT_EQ(index, 0U);
    EXPECT_EQ(copy->Clear(), S_OK);
}

TEST(Collection, KeepsObjectsInOrder)
{
    CComPtr<IMFCollection> collection;
    ASSERT_EQ(MFCreateCollection(&collection), S_OK);
    const CComPtr<IUnknown> first = makeToken();
    const CComPtr<IUnknown> second = makeToken();
    CComPtr<IUnknown> found;
    EXPECT_EQ(countOf(collection), 0U);
    ASSERT_EQ(collection->AddElement(second), S_OK);
    ASSERT_EQ(collection->InsertElementAt(0, first), S_OK);
    EXPECT_EQ(countOf(collection), 2U);
    ASSERT_EQ(collection->GetElement(0, &found), S_OK);
    EXPECT_EQ(found.p, first.p);
    found.Release();
    ASSERT_EQ(collection->RemoveElement(0, &found), S_OK);
    EXPECT_EQ(found.p, first.p);
    found.Release();
    ASSERT_EQ(collection->GetElement(0, &found), S_OK);
    EXPECT_EQ(found.p, second.p);
    found.Release();
    EXPECT_EQ(collection->RemoveAllElements(), S_OK);
    EXPECT_EQ(countOf(collection), 0U);
}

TEST(Collection, RefusesPlacesItDoesNotHave)
{
    CComPtr<IMFCollection> collection;
    CComPtr<IUnknown> found;
    ASSERT_EQ(MFCreateCollection(&collection), S_OK);
    EXPECT_EQ(collection->GetElement(0, &found), E_INVALIDARG);
    EXPECT_EQ(collection->RemoveElement(0, &found), E_INVALIDARG);
}

TEST(Collection, FillsUpWithEmptyPlaces_WhenInsertedBehindTheEnd)
{
    CComPtr<IMFCollection> collection;
    const CComPtr<IUnknown> token = makeToken();
    CComPtr<IUnknown> found;
    ASSERT_EQ(MFCreateCollection(&collection), S_OK);
    ASSERT_EQ(collection->InsertElementAt(2, token), S_OK);
    EXPECT_EQ(countOf(collection), 3U);
    EXPECT_EQ(collection->GetElement(1, &found), E_UNEXPECTED);
    EXPECT_EQ(collection->GetElement(2, &found), S_OK);
    EXPECT_EQ(found.p, token.p);
}

TEST(Collection, HoldsEmptyPlaces)
{
    CComPtr<IMFCollection> collection;
    CComPtr<IUnknown> found;
    ASSERT_EQ(MFCreateCollection(&collection), S_OK);
    EXPECT_EQ(collection->AddElement(nullptr), S_OK);
    EXPECT_EQ(countOf(collection), 1U);
    EXPECT_EQ(collection->RemoveElement(0, &found), S_OK);
    EXPECT_FALSE(found);
    EXPECT_EQ(countOf(collection), 0U);
}
