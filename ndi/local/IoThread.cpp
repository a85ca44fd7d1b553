#include "ndi/local/IoThread.h"

#include <boost/asio/post.hpp>

#include <exception>
#include <future>

namespace localndi
{

IoThread::IoThread() : m_guard(m_context.get_executor()), m_thread([this] { run(); }) {}

IoThread::~IoThread()
{
    stop();
}

void IoThread::invoke(const std::function<void()> &work)
{
    std::packaged_task<void()> task(work);
    auto done = task.get_future();
    boost::asio::post(m_context, [&task] { task(); });
    done.get();
}

void IoThread::run()
{
    for (;;) {
        try {
            m_context.run();
            return;
        } catch (const std::exception &) {
            continue;
        }
    }
}

void IoThread::stop()
{
    m_context.stop();
    if (m_thread.joinable())
        m_thread.join();
}

} // namespace localndi
