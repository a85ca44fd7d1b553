#pragma once

#include "hostfw/ComPtr.h"

#include <mfobjects.h>

namespace host
{

// The Direct3D 11 device of a graph, shared with sources that can deliver textures. Made at the first use.
class GraphicsDevice
{
public:
    // Null where no device can be made; the sources then go without.
    IMFDXGIDeviceManager *manager();

private:
    HRESULT create();

    CComPtr<IMFDXGIDeviceManager> m_manager;
    bool m_tried = false;
};

} // namespace host
