#include "multimedia/WorkContext.h"

std::shared_ptr<void> &WorkContext::slot()
{
    static thread_local std::shared_ptr<void> context;
    return context;
}
