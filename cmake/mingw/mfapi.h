// MinGW-w64 declares the tracked sample with the renderer's interfaces, and not at all the function that makes one.
#pragma once

#include_next <mfapi.h>

#include <evr.h>

STDAPI MFCreateTrackedSample(IMFTrackedSample **sample);
