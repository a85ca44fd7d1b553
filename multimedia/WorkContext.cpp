#include "multimedia/WorkContext.h"

CComPtr<IUnknown> &WorkContext::slot()
{
    static thread_local CComPtr<IUnknown> context;
    return context;
}
