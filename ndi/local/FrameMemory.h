#pragma once

#include <boost/interprocess/file_mapping.hpp>
#include <boost/interprocess/mapped_region.hpp>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>

namespace localndi
{

// A file of frame memory, mapped. The sender writes the file; a receiver's mapping is copy-on-write, so that an
// application that draws into a frame changes nobody else's.
//
// Threads: none of its own; who may touch the bytes is agreed by message.
class FrameMemory
{
public:
    // For the sender: a new file. Null when there is no room for it.
    static std::shared_ptr<FrameMemory> create(const std::filesystem::path &file, std::uint64_t size);
    // For a receiver: the file of a sender. Null when it is gone.
    static std::shared_ptr<FrameMemory> open(const std::filesystem::path &file);

    FrameMemory(boost::interprocess::file_mapping file, boost::interprocess::mode_t mode)
        : m_file(std::move(file)), m_region(m_file, mode)
    {
    }

    std::uint8_t *data() const { return static_cast<std::uint8_t *>(m_region.get_address()); }
    std::size_t size() const { return m_region.get_size(); }
    // The receiver's own changes must not cover the sender's next frame. May move data().
    void discardWrites();
    // Whether they do all the same: the file has to be mapped anew.
    bool isSpoilt() const { return m_spoilt; }

private:
    boost::interprocess::file_mapping m_file;
    boost::interprocess::mapped_region m_region;
    std::atomic<bool> m_spoilt{false};
};

} // namespace localndi
