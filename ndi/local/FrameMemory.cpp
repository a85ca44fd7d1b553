#include "ndi/local/FrameMemory.h"

#include "ndi/local/System.h"

#include <boost/interprocess/exceptions.hpp>
#include <boost/interprocess/file_mapping.hpp>

namespace localndi
{
namespace
{

namespace ipc = boost::interprocess;

std::shared_ptr<FrameMemory> map(const std::filesystem::path &file, ipc::mode_t fileMode, ipc::mode_t regionMode)
{
    try {
        const ipc::file_mapping mapping(file.string().c_str(), fileMode);
        return std::make_shared<FrameMemory>(ipc::mapped_region(mapping, regionMode));
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
    system::discardPrivateWrites(m_region.get_address(), m_region.get_size());
}

} // namespace localndi
