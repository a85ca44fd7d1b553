#include "tests/discovery/ProbeHarness.h"
#include "tests/support/native/MadeUpMediaTypes.h"

TEST_F(NDIProbeTest, ATypeThatCannotBeMadeEndsTheRunAndGivesTheFrameBack)
{
    for (const bool isVideo : {true, false}) {
        const MadeUpMediaTypes none(E_OUTOFMEMORY, nullptr);
        log.clear();
        isVideo ? pushVideo() : pushAudio();
        doProbe(forever);
        EXPECT_EQ(E_OUTOFMEMORY, probe.status());
        EXPECT_EQ(1, log.count(QtCriticalMsg, generalLog, " [MFCreateMediaType(&type)] (HR=0x8007000E)"));
        EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, "NDI probing error: \"Error\""));
        EXPECT_TRUE(outcomes.empty());
        EXPECT_EQ(ndi.calls().capturedFrames, ndi.calls().freedFrames);
    }
}
