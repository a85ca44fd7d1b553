// Any bytes as a y4m stream: read and converted, or refused with a Failure.

#include "ndi/tools/ndi-send/Failure.h"
#include "ndi/tools/ndi-send/UyvyConverter.h"
#include "ndi/tools/ndi-send/Y4mReader.h"

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

using namespace ndisend;

namespace
{

constexpr std::size_t LargestFrame = 1 << 16; // bytes; larger ones only cost time
constexpr int MostFrames = 8;

void readStream(std::istream &stream)
{
    Y4mReader reader(stream);
    const Y4mHeader header = reader.header();
    if (header.frameBytes() > LargestFrame)
        return;

    UyvyConverter converter(header);
    // Exactly as large as promised, so that a byte too many is seen.
    std::vector<std::uint8_t> picture(static_cast<std::size_t>(converter.stride() * header.height));
    std::vector<std::uint8_t> planes;
    for (int i = 0; i < MostFrames && reader.readFrame(planes); ++i)
        converter.convert(planes, picture.data());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    std::istringstream stream(std::string(reinterpret_cast<const char *>(bytes), size));
    try {
        readStream(stream);
    } catch (const Failure &) {
        return 0;
    }
    return 0;
}
