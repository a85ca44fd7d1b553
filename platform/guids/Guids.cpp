// Every interface, attribute and format identifier that the headers below declare, defined once per binary.

#define INITGUID

#include <windows.h>

#include <d3d11.h>
#include <dxgi.h>
#include <evr.h>
#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>
#include <mfobjects.h>
#include <mftransform.h>

// The header of this one only declares it, INITGUID or not.
DEFINE_GUID(GUID_NULL, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
