#include "ndi/tools/common/StatusLines.h"

#include <cstdio>

namespace nditools
{

void StatusLines::print(const std::string &line)
{
    if (m_quiet)
        return;
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::fputs((line + '\n').c_str(), stdout);
    std::fflush(stdout);
}

} // namespace nditools
