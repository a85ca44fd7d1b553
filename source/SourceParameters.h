#pragma once

#include "discovery/NDIInput.h"
#include "hostfw/HnsTime.h"
#include "source/CancellationToken.h"

#include <memory>

// What a source node hands to creation and to its media source, by value.
struct SourceParameters {
    NDIInput input;
    HnsTime probeTime = HnsTime::milliseconds(250); // carried for the node's property; nothing on the way in reads it
    HnsTime delay;                                  // added to every frame's time
    std::shared_ptr<CancellationToken> cancellationToken;
    bool hasVideo = false;
    bool hasAudio = false;
    bool hardwareSamples = false;
};
