#include "ndi/local/System.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace localndi::system
{
namespace
{

constexpr mode_t ownerOnlyFolder = 0700;
constexpr mode_t ownerOnlyFile = 0600;
constexpr mode_t otherPeople = 077;

std::filesystem::path baseFolder()
{
    std::filesystem::path memoryBacked = "/dev/shm";
    std::error_code error;
    if (std::filesystem::is_directory(memoryBacked, error) && access(memoryBacked.c_str(), W_OK | X_OK) == 0)
        return memoryBacked;
    return std::filesystem::temp_directory_path(error);
}

// A link, or a folder that somebody else prepared under this name, would hand them every frame.
bool isOursAlone(const std::filesystem::path &folder)
{
    struct stat status {
    };
    return lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
           (status.st_mode & otherPeople) == 0;
}

int createFile(const std::filesystem::path &path)
{
    return open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, ownerOnlyFile);
}

bool reserve(int file, std::uint64_t size)
{
    if (size == 0)
        return true;
    int result = 0;
    do
        result = posix_fallocate(file, 0, static_cast<off_t>(size));
    while (result == EINTR);
    return result == 0;
}

// A call that a signal may interrupt.
template <typename Call>
ssize_t repeated(const Call &call)
{
    ssize_t result = 0;
    do
        result = call();
    while (result < 0 && errno == EINTR);
    return result;
}

void closeOnExec(int descriptor)
{
    const int flags = fcntl(descriptor, F_GETFD);
    if (flags >= 0)
        fcntl(descriptor, F_SETFD, flags | FD_CLOEXEC);
}

} // namespace

std::filesystem::path privateFolder()
{
    const auto base = baseFolder();
    if (base.empty())
        return {};
    auto folder = base / ("ndi-local-" + std::to_string(geteuid()));
    if (mkdir(folder.c_str(), ownerOnlyFolder) != 0 && errno != EEXIST)
        return {};
    if (!isOursAlone(folder))
        return {};
    return folder;
}

bool createPrivateFile(const std::filesystem::path &path, std::uint64_t size)
{
    const int file = createFile(path);
    if (file < 0)
        return false;
    const bool reserved = reserve(file, size);
    close(file);
    if (!reserved)
        unlink(path.c_str());
    return reserved;
}

bool createPrivateFile(const std::filesystem::path &path, std::string_view content)
{
    const int file = createFile(path);
    if (file < 0)
        return false;
    while (!content.empty()) {
        const ssize_t written = repeated([&] { return write(file, content.data(), content.size()); });
        if (written <= 0)
            break;
        content.remove_prefix(static_cast<std::size_t>(written));
    }
    close(file);
    if (!content.empty())
        unlink(path.c_str());
    return content.empty();
}

std::string readFile(const std::filesystem::path &path, std::size_t limit)
{
    const int file = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (file < 0)
        return {};
    std::string content(limit, '\0');
    std::size_t size = 0;
    ssize_t count = 1;
    while (count > 0 && size < limit) {
        count = repeated([&] { return read(file, content.data() + size, limit - size); });
        size += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    close(file);
    content.resize(size);
    return content;
}

bool discardPrivateWrites(boost::interprocess::mapped_region &region,
                          const boost::interprocess::file_mapping & /*file*/)
{
    return madvise(region.get_address(), region.get_size(), MADV_DONTNEED) == 0;
}

void allowPortReuse(boost::asio::ip::tcp::acceptor &acceptor)
{
    acceptor.set_option(boost::asio::ip::tcp::acceptor::reuse_address(true));
}

void keepFromChildren(boost::asio::ip::tcp::socket &socket)
{
    closeOnExec(socket.native_handle());
}

void keepFromChildren(boost::asio::ip::tcp::acceptor &acceptor)
{
    closeOnExec(acceptor.native_handle());
}

void keepFromChildren(const boost::interprocess::file_mapping &file)
{
    closeOnExec(file.get_mapping_handle().handle);
}

std::string environmentVariable(const char *name)
{
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::uint32_t processId()
{
    return static_cast<std::uint32_t>(getpid());
}

bool isRunning(std::uint32_t processId)
{
    return kill(static_cast<pid_t>(processId), 0) == 0 || errno != ESRCH;
}

} // namespace localndi::system
