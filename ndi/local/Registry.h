#pragma once

#include "ndi/local/Protocol.h"
#include "ndi/local/SenderRecord.h"

#include <boost/interprocess/sync/file_lock.hpp>

#include <chrono>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

namespace localndi
{

// The folder in which this user's senders leave a record each, and their frame memory. A record names a port; as long
// as a sender listens on it, the record `<port>.sender` is that sender's alone to change. A record that nobody stands
// behind any more is dropped, with its frame files, by whoever notices.
//
// Threads: any, on any number of objects.
class Registry
{
public:
    // Held while records are compared and changed, across processes; the system lets go of it when its holder dies.
    class Lock
    {
    public:
        Lock(const Registry &registry, std::chrono::milliseconds timeout);
        ~Lock();
        Lock(const Lock &) = delete;
        Lock &operator=(const Lock &) = delete;
        explicit operator bool() const { return m_held; }

    private:
        std::unique_lock<std::mutex> m_process; // the file lock does not tell threads of one process apart
        boost::interprocess::file_lock m_file;
        bool m_held = false;
    };

    Registry();

    // False when there is no folder that is this user's alone: nothing can be published or found.
    bool isAvailable() const { return !m_folder.empty(); }

    std::vector<SenderRecord> records() const;
    bool publish(const Lock &lock, const SenderRecord &record) const;
    // By the sender itself, while it still listens on the record's port.
    void withdraw(const SenderRecord &record) const;
    // Nobody, or a stranger, listened on the record's port. Leaves the record of another sender that has taken the port
    // since. False when somebody else has the lock for now.
    bool dropStale(const SenderRecord &record) const;
    // Removes frame files that no record stands for, once they are some seconds old.
    void removeOrphans(const Lock &lock) const;

    std::filesystem::path frameFile(const std::string &stem, SlotKind kind, std::uint32_t index,
                                    std::uint32_t generation) const;

private:
    std::filesystem::path recordFile(std::uint16_t port) const;
    void removeFrameFiles(const std::string &stem) const;

    const std::filesystem::path m_folder;
};

} // namespace localndi
