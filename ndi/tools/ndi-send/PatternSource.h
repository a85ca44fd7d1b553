#pragma once

// The moving pattern as a source. Two pictures take turns: one may be on its way while the other is drawn.

#include "ndi/tools/ndi-send/Sources.h"
#include "pattern/TestPicture.h"

#include <array>
#include <memory>

namespace ndisend
{

class PatternSource : public VideoSource
{
public:
    explicit PatternSource(const VideoFormat &format);

    VideoFormat format() const override { return m_format; }
    bool prepare(std::int64_t frame) override;
    pattern::Picture finish() override;

private:
    pattern::Picture shown() const;

    VideoFormat m_format;
    std::array<std::unique_ptr<pattern::TestPicture>, 2> m_pictures;
    std::int64_t m_frame = 0;
    std::size_t m_turn = 0;
};

} // namespace ndisend
