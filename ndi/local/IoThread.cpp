#include "ndi/local/IoThread.h"

#include <boost/asio/post.hpp>

#include <future>

namespace localndi
{

IoThread::IoThread() : m_guard(m_context.get_executor()), m_thread([this] { m_context.run(); }) {}

IoThread::~IoThread()
{
    stop();
}

void IoThread::invoke(const std::function<void()> &work)
{
    std::promise<void> done;
    boost::asio::post(m_context, [&] {
        work();
        done.set_value();
    });
    done.get_future().wait();
}

void IoThread::stop()
{
    m_context.stop();
    if (m_thread.joinable())
        m_thread.join();
}

} // namespace localndi
