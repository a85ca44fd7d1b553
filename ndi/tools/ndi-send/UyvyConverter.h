#pragma once

// A planar picture brought into UYVY, the layout in which NDI carries pictures without alpha.

#include "ndi/tools/ndi-send/Y4mReader.h"
#include "pattern/Picture.h"

#include <cstdint>
#include <vector>

namespace ndisend
{

class UyvyConverter
{
public:
    explicit UyvyConverter(const Y4mHeader &header);

    // The last column of an odd width is left out: two pixels share their chroma.
    int width() const { return m_header.width & ~1; }
    int stride() const { return width() * 2; }

    // The planes as Y4mReader reads them; `out` has room for stride() x height bytes.
    void convert(const std::vector<std::uint8_t> &planes, std::uint8_t *out);

private:
    // Every lineStep-th line from firstLine on: the whole frame, or one field of it.
    void convertLines(const std::uint8_t *planes, int firstLine, int lineStep, std::uint8_t *out);

    Y4mHeader m_header;
    std::vector<std::uint8_t> m_halfChroma; // 4:4:4 chroma brought to half the width: both planes
};

} // namespace ndisend
