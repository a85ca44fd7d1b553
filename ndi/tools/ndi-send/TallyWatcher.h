#pragma once

// Follows the tally and the number of receivers of a sender on a thread of its own, so that changes are told at once
// however slow the frames are, and prints each change. The sender must outlive the watcher.

#include "ndi/tools/common/StatusLines.h"
#include "ndi/tools/ndi-send/Summary.h"

#include <Processing.NDI.Interface.h>

#include <atomic>
#include <mutex>
#include <thread>

namespace ndisend
{

class TallyWatcher
{
public:
    TallyWatcher(NDIlib_send_instance_t sender, nditools::StatusLines &lines);
    ~TallyWatcher();

    TallyWatcher(const TallyWatcher &) = delete;
    TallyWatcher &operator=(const TallyWatcher &) = delete;

    ReceiverRecord record() const;

private:
    void watch();
    void noteTally(const NDIlib_tally_t &tally);
    void noteConnections(int connections);

    const NDIlib_send_instance_t m_sender;
    nditools::StatusLines &m_lines;
    mutable std::mutex m_mutex;
    ReceiverRecord m_record; // guarded by m_mutex
    std::atomic<bool> m_stop{false};
    std::thread m_thread; // last, as it uses all of the above
};

} // namespace ndisend
