#pragma once

#include "sink/NDISink.h"

// The body of a creation job: makes the media sink and an output node for each of its stream sinks. Runs on a pool
// thread and touches nothing but its parameters. Failures are told in the result.
NDISink::AsyncCreationResult createSinkJob(const NDISinkParams &params);

// An output node for the sink's first stream sink of that major type. Throws ComException when there is none or a call
// fails.
CComPtr<IMFTopologyNode> createStreamSinkNode(IMFMediaSink *sink, const GUID &majorType);
