#include "ndi/local/Finder.h"

#include "ndi/local/Faults.h"
#include "ndi/local/Groups.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace localndi
{
namespace
{

constexpr std::chrono::milliseconds lookPeriod{50};
constexpr std::chrono::milliseconds firstLook{100}; // a new finder knows nobody: callers have to wait, as on a network

// Asked once by each finder of the process.
bool isMadeTooSoon()
{
    using Clock = std::chrono::steady_clock;
    const auto deafTime = faults().deafTime;
    static std::atomic<Clock::time_point> lastMade{Clock::time_point::min()};
    const auto now = Clock::now();
    const auto before = lastMade.exchange(now);
    return deafTime.count() > 0 && before > now - deafTime;
}

} // namespace

Finder::Finder(bool showLocal, std::string groups) : m_groups(std::move(groups)), m_timer(m_io.context())
{
    // Every sender is local: who does not want those gets none.
    const bool isDeaf = isMadeTooSoon();
    if (showLocal && !isDeaf)
        m_io.invoke([this] { lookAfter(firstLook); });
}

Finder::~Finder()
{
    m_io.stop();
    m_links.clear();
}

bool Finder::wait(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_lock);
    m_changed.wait_for(lock, timeout, [this] { return m_version != m_seenVersion; });
    return std::exchange(m_seenVersion, m_version) != m_version;
}

const NDIlib_source_t *Finder::sources(std::uint32_t &count)
{
    {
        const std::lock_guard lock(m_lock);
        m_shown = m_list;
    }
    m_shownSources.clear();
    for (const auto &source : m_shown) {
        auto &shown = m_shownSources.emplace_back();
        shown.p_ndi_name = source.name.c_str();
        shown.p_url_address = source.address.c_str();
    }
    count = static_cast<std::uint32_t>(m_shownSources.size());
    m_shownSources.emplace_back(); // an empty list has an address too
    return m_shownSources.data();
}

void Finder::look()
{
    SenderLink::Listener &listener = *this;
    for (auto &record : m_registry.records()) {
        if (m_links.count(record.identity) != 0 || !groupsIntersect(m_groups, record.groups))
            continue;
        const auto identity = record.identity;
        m_links[identity] = std::make_unique<SenderLink>(m_io.context(), listener, std::move(record), Role::Finder, 0);
    }
}

void Finder::lookAfter(std::chrono::milliseconds delay)
{
    m_timer.expires_after(delay);
    m_timer.async_wait([this](const boost::system::error_code &error) {
        if (error)
            return;
        lookAfter(lookPeriod);
        look();
    });
}

void Finder::onOpen(SenderLink &)
{
    publishList();
}

void Finder::onEnd(SenderLink &link, SenderLink::End end)
{
    const auto ended = m_links.extract(link.record().identity);
    if (link.isOpen())
        publishList();
    if (end == SenderLink::End::Refused || end == SenderLink::End::Impostor)
        m_registry.dropStale(link.record());
}

void Finder::publishList()
{
    std::vector<Source> list;
    for (const auto &[identity, link] : m_links)
        if (link->isOpen())
            list.push_back({link->record().name, link->record().address()});
    std::sort(list.begin(), list.end(), [](const Source &a, const Source &b) { return a.name < b.name; });
    const std::lock_guard lock(m_lock);
    m_list = std::move(list);
    ++m_version;
    m_changed.notify_all();
}

} // namespace localndi
