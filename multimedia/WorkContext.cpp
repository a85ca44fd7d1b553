#include "multimedia/WorkContext.h"

IUnknown *&WorkContext::slot()
{
    static thread_local IUnknown *context = nullptr;
    return context;
}
