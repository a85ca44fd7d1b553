#pragma once

#include "pattern/Picture.h"

#include <QtGui/QImage>

namespace recording
{

enum class Alpha { Ignored, Kept }; // of BGRA

// A copy in RGB; null when there is no memory for it. Y'CbCr is taken for BT.709 from 720 lines up, else for BT.601, in
// video range. Of NV12 the plane of chroma follows that of luma.
QImage toImage(const pattern::ConstPicture &picture, Alpha alpha);

} // namespace recording
