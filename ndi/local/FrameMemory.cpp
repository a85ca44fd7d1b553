#include "ndi/local/FrameMemory.h"

#include "ndi/local/System.h"

#include <boost/interprocess/exceptions.hpp>
#include <boost/interprocess/file_mapping.hpp>

#include <utility>

namespace localndi
{
namespace
{

namespace ipc = boost::interprocess;

std::shared_ptr<FrameMemory> map(const std::filesystem::path &file, ipc::mode_t fileMode, ipc::mode_t regionMode)
{
    try {
        ipc::file_mapping opened(file.string().c_str(), fileMode);
        system::keepFromChildren(opened);
        return std::make_shared<FrameMemory>(std::move(opened), regionMode);
    } catch (const ipc::interprocess_exception &) {
        return nullptr;
    }
}

} // namespace

std::shared_ptr<FrameMemory> FrameMemory::create(const std::filesystem::path &file, std::uint64_t size)
{
    if (!system::createPrivateFile(file, size))
        return nullptr;
    return map(file, ipc::read_write, ipc::read_write);
}

std::shared_ptr<FrameMemory> FrameMemory::open(const std::filesystem::path &file)
{
    return map(file, ipc::read_only, ipc::copy_on_write);
}

void FrameMemory::discardWrites()
{
    m_spoilt = !system::discardPrivateWrites(m_region, m_file);
}

} // namespace localndi
