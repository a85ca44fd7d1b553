#pragma once

// Whether the box of the test picture that flashes once a second is lit.

#include "pattern/PatternCode.h"

namespace pattern
{

// Of a picture that is a test picture, or a field of one. False for a picture too small to tell.
inline bool isFlashShown(const ConstPicture &picture)
{
    constexpr int Side = 8; // pixels and lines in the middle of the box
    const int x = picture.width * 7 / 8 - Side / 2;
    const int y = picture.height * 7 / 8 - Side / 2;
    if (x < 0 || y < 0 || x + Side > picture.width || y + Side > picture.height)
        return false;
    int sum = 0;
    for (int line = y; line < y + Side; ++line) {
        for (int i = x; i < x + Side; ++i)
            sum += picture.line(line)[detail::greyOffset(picture.layout, i)];
    }
    return sum > Side * Side * 126;
}

} // namespace pattern
