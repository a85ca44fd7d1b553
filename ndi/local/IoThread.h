#pragma once

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include <functional>
#include <thread>

namespace localndi
{

// One thread that runs the socket and timer work of one finder, sender or receiver, so that their connections need no
// locks of their own. A handler that throws (there is no memory, say) has done what it could; the others go on.
//
// Threads: invoke() from any but this one. stop() once, by the owner, before the members that the handlers use go.
class IoThread
{
public:
    IoThread();
    ~IoThread();
    IoThread(const IoThread &) = delete;
    IoThread &operator=(const IoThread &) = delete;

    boost::asio::io_context &context() { return m_context; }
    // Runs `work` on the thread and waits for it; throws what it throws.
    void invoke(const std::function<void()> &work);
    void stop();

private:
    void run();

    boost::asio::io_context m_context{1};
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_guard;
    std::thread m_thread;
};

} // namespace localndi
