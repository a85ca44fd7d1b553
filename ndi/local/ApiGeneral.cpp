#include "ndi/include/Processing.NDI.Interface.h"
#include "ndi/local/Faults.h"

#include <atomic>
#include <string>

using namespace localndi;

namespace
{

// Nothing is shared between finders, senders and receivers that would have to be set up or torn down; the calls are
// counted so that a surplus one can be told.
std::atomic<int> initializations{0};

} // namespace

bool NDIlib_initialize()
{
    ++initializations;
    return true;
}

void NDIlib_destroy()
{
    int count = initializations;
    while (count > 0 && !initializations.compare_exchange_weak(count, count - 1)) {
    }
}

const char *NDIlib_version()
{
    static const std::string version = "Local NDI runtime 1.0 (this machine only)" +
                                       (faults().description.empty() ? "" : " with " + faults().description);
    return version.c_str();
}
