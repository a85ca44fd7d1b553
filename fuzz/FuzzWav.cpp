// Any bytes as a wav stream: read to its end twice, or refused with a Failure.

#include "ndi/tools/ndi-send/Failure.h"
#include "ndi/tools/ndi-send/WavReader.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

using namespace ndisend;

namespace
{

constexpr int Piece = 61; // samples

void readStream(std::istream &stream)
{
    WavReader reader(stream);
    std::vector<float> planar(static_cast<std::size_t>(Piece * reader.format().channels));
    for (int round = 0; round < 2; ++round) {
        while (reader.read(Piece, planar.data(), Piece) == Piece) {
            for (const float sample : planar) {
                if (!std::isfinite(sample))
                    std::abort();
            }
        }
        if (!reader.rewind())
            return;
    }
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
