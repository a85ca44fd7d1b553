#pragma once

#include "ndi/include/Processing.NDI.Interface.h"
#include "ndi/local/IoThread.h"
#include "ndi/local/Registry.h"
#include "ndi/local/SenderLink.h"

#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace localndi
{

// A finder of this process: watches the registry and lists every sender to which it has an open connection. The end of
// that connection is the end of the sender, however it came about.
//
// Threads: the public functions from one at a time; the connections belong to the IO thread.
class Finder final : private SenderLink::Listener
{
public:
    Finder(bool showLocal, std::string groups);
    ~Finder();

    // True when the list changed since the last call; waits for that at most `timeout`.
    bool wait(std::chrono::milliseconds timeout);
    // Valid until the next call; never null.
    const NDIlib_source_t *sources(std::uint32_t &count);

private:
    // SenderLink::Listener, on the IO thread
    void onOpen(SenderLink &link) override;
    void onMessage(SenderLink &, MessageType, std::string_view) override {}
    void onEnd(SenderLink &link, SenderLink::End end) override;

    void look();
    void lookAfter(std::chrono::milliseconds delay);
    void publishList();

    struct Source {
        std::string name;
        std::string address;
    };

    IoThread m_io; // stopped first, destroyed last
    const Registry m_registry;
    const std::string m_groups;

    std::mutex m_lock; // guards what follows
    std::condition_variable m_changed;
    std::vector<Source> m_list;
    std::uint64_t m_version = 0;

    // The caller's.
    std::uint64_t m_seenVersion = 0;
    std::vector<Source> m_shown;
    std::vector<NDIlib_source_t> m_shownSources;

    // The IO thread's.
    boost::asio::steady_timer m_timer;
    std::map<Secret, std::unique_ptr<SenderLink>> m_links; // by the sender's identity
};

} // namespace localndi
