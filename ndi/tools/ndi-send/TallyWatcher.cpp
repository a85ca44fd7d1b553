#include "ndi/tools/ndi-send/TallyWatcher.h"

#include <algorithm>
#include <string>

namespace ndisend
{

namespace
{

constexpr std::uint32_t LongestWait = 50; // milliseconds until the end of the program is noticed

std::string onOff(bool on)
{
    return on ? "on" : "off";
}

} // namespace

TallyWatcher::TallyWatcher(NDIlib_send_instance_t sender, nditools::StatusLines &lines)
    : m_sender(sender), m_lines(lines), m_thread([this] { watch(); })
{
}

TallyWatcher::~TallyWatcher()
{
    m_stop.store(true);
    m_thread.join();
}

ReceiverRecord TallyWatcher::record() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_record;
}

void TallyWatcher::watch()
{
    while (!m_stop.load()) {
        NDIlib_tally_t tally;
        if (NDIlib_send_get_tally(m_sender, &tally, LongestWait))
            noteTally(tally);
        noteConnections(NDIlib_send_get_no_connections(m_sender, 0));
    }
}

void TallyWatcher::noteTally(const NDIlib_tally_t &tally)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (tally.on_program == m_record.program.on && tally.on_preview == m_record.preview.on)
            return;
        m_record.program.set(tally.on_program);
        m_record.preview.set(tally.on_preview);
        ++m_record.tallyChanges;
    }
    m_lines.print("tally: program " + onOff(tally.on_program) + ", preview " + onOff(tally.on_preview));
}

void TallyWatcher::noteConnections(int connections)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (connections == m_record.connections)
            return;
        m_record.connections = connections;
        m_record.mostConnections = std::max(m_record.mostConnections, connections);
    }
    m_lines.print("connections: " + std::to_string(connections));
}

} // namespace ndisend
