#pragma once

#include "hostfw/HnsTime.h"

#include <mfobjects.h>

namespace host
{

// The rate that a media type declares, by which a sink that sends at that rate reckons a sample's turn.
class DeclaredRate
{
public:
    DeclaredRate() = default;
    explicit DeclaredRate(IMFMediaType *type);

    // How long the sample lasts at that rate; where the type declares none, as long as the sample says; 0 if neither.
    HnsTime duration(IMFSample *sample) const;

private:
    HnsTime m_picture;              // of one picture; 0 when the type declares no rate of pictures
    long long m_bytesPerSecond = 0; // of sound; 0 when it declares none
};

} // namespace host
