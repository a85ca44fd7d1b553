#pragma once

#include <windows.h>

// While it exists, the host's library says of the streams of one major type what is not so. One at a time, for calls on
// any thread.
class MadeUpSourceNodes
{
public:
    enum class Kind {
        NodeOfAbsentStream, // there is a node although there is no such stream
        IndexBeyondTheLast, // the stream is where the presentation descriptor has none
    };

    MadeUpSourceNodes(Kind kind, const GUID &majorType);
    MadeUpSourceNodes(const MadeUpSourceNodes &) = delete;
    MadeUpSourceNodes &operator=(const MadeUpSourceNodes &) = delete;
    ~MadeUpSourceNodes();
};
