#pragma once

// What the tests of pictures share.

#include "tests/platform/DataSupport.h"

#include <d3d9types.h>

#include <algorithm>

constexpr DWORD fourCC(const char (&text)[5])
{
    return static_cast<DWORD>(text[0]) | static_cast<DWORD>(text[1]) << 8 | static_cast<DWORD>(text[2]) << 16 |
           static_cast<DWORD>(text[3]) << 24;
}

inline CComPtr<IMF2DBuffer2> picture(DWORD width, DWORD height, DWORD format, bool bottomUp = false)
{
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(MFCreate2DMediaBuffer(width, height, format, bottomUp, &buffer), S_OK);
    return buffer ? faceOf<IMF2DBuffer2>(buffer) : CComPtr<IMF2DBuffer2>();
}

inline CComPtr<IMF2DBuffer2> rgbPicture(bool bottomUp = false)
{
    return picture(6, 4, D3DFMT_X8R8G8B8, bottomUp);
}

// One lock for as long as it lives.
class Lines
{
public:
    explicit Lines(IMF2DBuffer *buffer) : m_buffer(buffer) { EXPECT_EQ(buffer->Lock2D(&m_first, &m_pitch), S_OK); }
    Lines(const Lines &) = delete;
    Lines &operator=(const Lines &) = delete;
    ~Lines() { EXPECT_EQ(m_buffer->Unlock2D(), S_OK); }

    BYTE *first() const { return m_first; }
    BYTE *line(int index) const { return m_first + static_cast<ptrdiff_t>(m_pitch) * index; }
    LONG pitch() const { return m_pitch; }

private:
    const CComPtr<IMF2DBuffer> m_buffer;
    BYTE *m_first = nullptr;
    LONG m_pitch = 0;
};

// The lines of rgbPicture(), from the top one on, each filled with its number: from 1 to 4.
inline void numberLines(IMF2DBuffer *buffer)
{
    const Lines lines(buffer);
    for (int line = 0; line < 4; ++line)
        std::fill_n(lines.line(line), 24, static_cast<BYTE>(line + 1));
}

// Lines of rgbPicture() that are filled with these numbers, packed.
inline Bytes packedLines(std::initializer_list<BYTE> numbers)
{
    Bytes bytes;
    for (const BYTE number : numbers)
        bytes.insert(bytes.end(), 24, number);
    return bytes;
}

// Whether as many lines begin with `bytes` bytes each of the content, in which they are `stride` apart.
inline void expectLines(const Lines &lines, int count, int bytes, const Bytes &content, int stride)
{
    for (int line = 0; line < count; ++line)
        EXPECT_TRUE(std::equal(lines.line(line), lines.line(line) + bytes, content.begin() + line * stride)) << line;
}
