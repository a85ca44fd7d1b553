#include "ndi/tools/ndi-send/StatusLines.h"

#include <cstdio>

namespace ndisend
{

void StatusLines::print(const std::string &line)
{
    if (m_quiet)
        return;
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::fputs((line + '\n').c_str(), stdout);
    std::fflush(stdout);
}

} // namespace ndisend
