#pragma once

#include "hostfw/D3D11DeviceManager.h"

#include <mfobjects.h>

// A media buffer on a new Direct3D 11 texture of the manager's device. E_POINTER without a manager; the manager's own
// failure when it has no device.
HRESULT createHardwareBuffer(UINT32 width, UINT32 height, const GUID &subtype, CD3D11DeviceManager *d3dDeviceManager,
                             IMFMediaBuffer **outBuffer);
