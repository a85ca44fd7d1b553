#pragma once

#include "ndi/local/ReceiveQueue.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <deque>
#include <functional>
#include <random>

namespace localndi
{

// Lets frames arrive late, each by a random time; those of a kind in their order.
//
// Threads: the context's only.
class Jitter
{
public:
    using Arrival = std::function<void(QueuedFrame)>;

    // With no time at all, frames arrive as they are added.
    Jitter(boost::asio::io_context &context, std::chrono::milliseconds most, Arrival arrival);
    void add(QueuedFrame frame);

private:
    using Clock = std::chrono::steady_clock;

    struct LateFrame {
        Clock::time_point due;
        QueuedFrame frame;
    };
    struct Lane {
        explicit Lane(boost::asio::io_context &context) : timer(context) {}

        std::deque<LateFrame> frames;
        boost::asio::steady_timer timer; // runs while there are frames
    };

    void letArrive(Lane &lane);

    const std::chrono::microseconds m_most;
    const Arrival m_arrival;
    std::minstd_rand m_random{std::random_device()()};
    Lane m_video;
    Lane m_audio;
};

} // namespace localndi
