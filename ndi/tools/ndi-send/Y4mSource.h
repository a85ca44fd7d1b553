#pragma once

// A y4m file or pipe as a source, in UYVY.

#include "ndi/tools/ndi-send/Input.h"
#include "ndi/tools/ndi-send/Options.h"
#include "ndi/tools/ndi-send/Sources.h"
#include "ndi/tools/ndi-send/UyvyConverter.h"
#include "ndi/tools/ndi-send/Y4mReader.h"

#include <array>

namespace ndisend
{

class Y4mSource : public VideoSource
{
public:
    // Opens the file and reads its header.
    explicit Y4mSource(const Options &options);

    VideoFormat format() const override { return m_format; }
    bool prepare(std::int64_t frame) override;
    pattern::Picture finish() override;

private:
    bool readFrame();

    Input m_input;
    Y4mReader m_reader;
    UyvyConverter m_converter;
    VideoFormat m_format;
    bool m_loop;
    std::vector<std::uint8_t> m_planes;
    std::array<std::vector<std::uint8_t>, 2> m_pictures;
    std::size_t m_turn = 0;
};

} // namespace ndisend
