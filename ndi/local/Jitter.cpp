#include "ndi/local/Jitter.h"

#include <algorithm>
#include <utility>

namespace localndi
{

Jitter::Jitter(boost::asio::io_context &context, std::chrono::milliseconds most, Arrival arrival)
    : m_most(most), m_arrival(std::move(arrival)), m_video(context), m_audio(context)
{
}

void Jitter::add(QueuedFrame frame)
{
    if (m_most.count() == 0) {
        m_arrival(std::move(frame));
        return;
    }
    auto &lane = frame.type == MessageType::Video ? m_video : m_audio;
    std::uniform_int_distribution<std::chrono::microseconds::rep> delay(0, m_most.count());
    const auto due = Clock::now() + std::chrono::microseconds(delay(m_random));
    const bool isFirst = lane.frames.empty();
    lane.frames.push_back({isFirst ? due : std::max(due, lane.frames.back().due), std::move(frame)});
    if (isFirst)
        letArrive(lane);
}

void Jitter::letArrive(Lane &lane)
{
    lane.timer.expires_at(lane.frames.front().due);
    lane.timer.async_wait([this, &lane](const boost::system::error_code &error) {
        if (error)
            return;
        auto frame = std::move(lane.frames.front().frame);
        lane.frames.pop_front();
        if (!lane.frames.empty())
            letArrive(lane);
        m_arrival(std::move(frame));
    });
}

} // namespace localndi
