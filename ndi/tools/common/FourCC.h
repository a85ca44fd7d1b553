#pragma once

#include <Processing.NDI.Interface.h>

#include <string>

namespace nditools
{

// The four characters in memory order.
inline std::string fourCCText(NDIlib_FourCC_video_type_e fourCC)
{
    const auto bits = static_cast<std::uint32_t>(fourCC);
    std::string text;
    for (int shift = 0; shift < 32; shift += 8)
        text += static_cast<char>(bits >> shift & 0xff);
    return text;
}

} // namespace nditools
