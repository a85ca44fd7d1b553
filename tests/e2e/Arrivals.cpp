#include "tests/e2e/Arrivals.h"

#include "pattern/FrameRate.h"
#include "pattern/PatternCode.h"
#include "tests/e2e/TimeLimits.h"
#include "tests/host/EventLoop.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace
{

// 0 without values.
double medianMs(std::vector<std::int64_t> hns)
{
    if (hns.empty())
        return 0;
    const auto middle = hns.begin() + static_cast<std::ptrdiff_t>(hns.size() / 2);
    std::nth_element(hns.begin(), middle, hns.end());
    return static_cast<double>(*middle) * 1000 / pattern::HnsPerSecond;
}

std::optional<std::int64_t> latencyOf(const ReceivedPicture &picture)
{
    const int width = picture.header.xres;
    const auto *const pixels = reinterpret_cast<const std::uint8_t *>(picture.bytes.constData());
    const auto code =
        pattern::readCode({pixels, std::ptrdiff_t{2} * width, width, picture.header.yres, pattern::PixelLayout::UYVY});
    if (!code)
        return std::nullopt;
    return picture.arrival - static_cast<std::int64_t>(code->sendTimeHns);
}

// From each frame's place in the stream's time to its arrival.
template <typename Frames>
std::vector<std::int64_t> delays(const Frames &frames, std::int64_t from, std::int64_t to)
{
    std::vector<std::int64_t> found;
    for (const auto &frame : frames)
        if (frame.arrival >= from && frame.arrival < to)
            found.push_back(frame.arrival - frame.header.timecode);
    return found;
}

} // namespace

std::ostream &operator<<(std::ostream &stream, const Arrivals &arrivals)
{
    return stream << arrivals.pictures << " pictures and " << arrivals.pieces << " pieces of sound a second, late by "
                  << arrivals.latencyMs << " ms, picture " << arrivals.avOffsetMs << " ms behind the sound";
}

Arrivals arrivalsFrom(const TestReceiver &receiver, std::int64_t from, double seconds)
{
    const std::int64_t to = from + static_cast<std::int64_t>(seconds * pattern::HnsPerSecond);
    EXPECT_TRUE(waitUntil([&] { return receiver.newestPicture().arrival >= to; }, Patience)) << "no picture comes";
    const auto pictures = receiver.pictures();
    const std::vector<std::int64_t> ofPictures = delays(pictures, from, to);
    const std::vector<std::int64_t> ofSound = delays(receiver.sound(), from, to);
    std::vector<std::int64_t> latencies;
    for (const ReceivedPicture &picture : pictures) {
        const auto latency = latencyOf(picture);
        EXPECT_TRUE(latency) << "a picture without a code";
        if (latency && picture.arrival >= from && picture.arrival < to)
            latencies.push_back(*latency);
    }
    EXPECT_FALSE(latencies.empty());
    Arrivals arrivals;
    arrivals.pictures = static_cast<double>(ofPictures.size()) / seconds;
    arrivals.pieces = static_cast<double>(ofSound.size()) / seconds;
    arrivals.latencyMs = medianMs(latencies);
    if (!ofSound.empty())
        arrivals.avOffsetMs = medianMs(ofPictures) - medianMs(ofSound);
    return arrivals;
}

testing::AssertionResult arrives(const TestReceiver &receiver, std::int64_t from, double seconds,
                                 const std::function<bool(const Arrivals &)> &asItShould)
{
    constexpr int windows = 5;
    bool wasAsItShould = false;
    auto failure = testing::AssertionFailure();
    for (int window = 0; window < windows; ++window) {
        const Arrivals arrivals = arrivalsFrom(receiver, window == 0 ? from : secondsFromNow(0), seconds);
        const bool isAsItShould = asItShould(arrivals);
        if (isAsItShould && wasAsItShould)
            return testing::AssertionSuccess();
        wasAsItShould = isAsItShould;
        failure << (isAsItShould ? "[as it should: " : "[") << arrivals << "] ";
    }
    return failure;
}

std::int64_t secondsFromNow(double seconds)
{
    return static_cast<std::int64_t>(pattern::steadyNowHns()) +
           static_cast<std::int64_t>(seconds * pattern::HnsPerSecond);
}
