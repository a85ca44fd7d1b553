// What is documented of a presentation clock that is shut down and not kept by every system.

#include "tests/platform/DataSupport.h"

TEST(PresentationClockNative, DoesNothing_AfterShutdown)
{
    CComPtr<IMFPresentationClock> clock;
    CComPtr<IMFPresentationTimeSource> source;
    CComPtr<IMFPresentationTimeSource> found;
    ASSERT_EQ(MFCreatePresentationClock(&clock), S_OK);
    ASSERT_EQ(MFCreateSystemTimeSource(&source), S_OK);
    ASSERT_EQ(clock->SetTimeSource(source), S_OK);
    ASSERT_EQ(clock->Start(0), S_OK);
    EXPECT_EQ(faceOf<IMFShutdown>(clock)->Shutdown(), S_OK);
    MFTIME time = 0;
    EXPECT_EQ(clock->GetTime(&time), MF_E_SHUTDOWN);
    EXPECT_EQ(clock->GetTimeSource(&found), MF_E_SHUTDOWN);
    EXPECT_EQ(clock->SetTimeSource(source), MF_E_SHUTDOWN);
    EXPECT_EQ(clock->AddClockStateSink(faceOf<IMFClockStateSink>(source)), MF_E_SHUTDOWN);
    EXPECT_EQ(clock->Start(0), MF_E_SHUTDOWN);
    EXPECT_EQ(clock->Pause(), MF_E_SHUTDOWN);
    EXPECT_EQ(clock->Stop(), MF_E_SHUTDOWN);
    EXPECT_EQ(faceOf<IMFRateControl>(clock)->SetRate(FALSE, 1.0F), MF_E_SHUTDOWN);
}
