#pragma once

#include "hostfw/ComPtr.h"

#include <mfidl.h>
#include <mfobjects.h>

namespace host
{

// The Direct3D 11 device of a graph, shared with sources that can deliver textures. Made at the first use.
class GraphicsDevice
{
public:
    // Gives the device to a source whose attributes say that it can use one. Where no device can be made, sources go
    // without.
    void offerTo(IMFMediaSource *source);

private:
    // Null where no device can be made.
    IMFDXGIDeviceManager *manager();
    HRESULT create();

    CComPtr<IMFDXGIDeviceManager> m_manager;
    bool m_tried = false;
};

} // namespace host
