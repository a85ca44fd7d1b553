#pragma once

// Copies of received pictures that outlive their frames.

#include "pattern/Picture.h"

#include <Processing.NDI.Interface.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace ndirecv
{

// A whole picture. Its fields are both in it, and its lines lie behind one another without padding.
struct StoredPicture {
    int width = 0;
    int height = 0;
    NDIlib_FourCC_video_type_e fourCC = NDIlib_FourCC_video_type_UYVY;
    int rateNumerator = 0;
    int rateDenominator = 0;
    bool isInterlaced = false; // upper field first
    std::vector<std::uint8_t> bytes;

    // The first plane; nothing when its grey values cannot be read.
    std::optional<pattern::ConstPicture> view() const;
};

using SharedPicture = std::shared_ptr<const StoredPicture>;

// Makes StoredPictures of frames, and of two fields one. Used by one thread; the pictures may be dropped on any, and
// their memory is used again.
class PictureStore
{
public:
    // Null while the second field is awaited, for a lower field without its upper one, and for an unknown pixel format.
    SharedPicture add(const NDIlib_video_frame_v2_t &frame);
    // The next field belongs to no field before it.
    void forget() { m_upperField.reset(); }

private:
    // What was dropped, for the next picture; it outlives the store while a picture is around.
    struct Pool {
        std::mutex lock; // guards the pictures
        std::vector<std::unique_ptr<StoredPicture>> pictures;
    };

    std::shared_ptr<StoredPicture> take();

    const std::shared_ptr<Pool> m_pool = std::make_shared<Pool>();
    std::shared_ptr<StoredPicture> m_upperField;
};

} // namespace ndirecv
