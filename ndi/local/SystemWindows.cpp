#include "ndi/local/System.h"

#include <boost/interprocess/exceptions.hpp>

#include <string>
#include <system_error>

#include <windows.h>

namespace localndi::system
{
namespace
{

// Not handed to the disk unless memory runs short.
constexpr DWORD keptInMemory = FILE_ATTRIBUTE_TEMPORARY;
constexpr DWORD everySharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// A link in place of the folder would hand somebody else every frame.
bool isPlainFolder(const std::filesystem::path &folder)
{
    const DWORD attributes = GetFileAttributesW(folder.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
           (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
}

HANDLE createFile(const std::filesystem::path &path)
{
    return CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, everySharing, nullptr, CREATE_NEW, keptInMemory,
                       nullptr);
}

bool reserve(HANDLE file, std::uint64_t size)
{
    LARGE_INTEGER end{};
    end.QuadPart = static_cast<LONGLONG>(size);
    return SetFilePointerEx(file, end, nullptr, FILE_BEGIN) != FALSE && SetEndOfFile(file) != FALSE;
}

void keepHandleFromChildren(SOCKET socket)
{
    SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
}

} // namespace

// The folder for temporary files lies in the user's own profile, whose access list lets nobody else in.
std::filesystem::path privateFolder()
{
    std::error_code error;
    const auto base = std::filesystem::temp_directory_path(error);
    if (error || base.empty())
        return {};
    auto folder = base / "ndi-local";
    if (!CreateDirectoryW(folder.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
        return {};
    if (!isPlainFolder(folder))
        return {};
    return folder;
}

bool createPrivateFile(const std::filesystem::path &path, std::uint64_t size)
{
    const HANDLE file = createFile(path);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    const bool reserved = reserve(file, size);
    CloseHandle(file);
    if (!reserved)
        DeleteFileW(path.c_str());
    return reserved;
}

bool createPrivateFile(const std::filesystem::path &path, std::string_view content)
{
    const HANDLE file = createFile(path);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    DWORD written = 0;
    const bool isWhole =
        WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr) != FALSE &&
        written == content.size();
    CloseHandle(file);
    if (!isWhole)
        DeleteFileW(path.c_str());
    return isWhole;
}

std::string readFile(const std::filesystem::path &path, std::size_t limit)
{
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_READ, everySharing, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return {};
    std::string content(limit, '\0');
    DWORD size = 0;
    if (ReadFile(file, content.data(), static_cast<DWORD>(limit), &size, nullptr) == FALSE)
        size = 0;
    CloseHandle(file);
    content.resize(size);
    return content;
}

// Pages of a view that were copied stay copies as long as it is mapped.
bool discardPrivateWrites(boost::interprocess::mapped_region &region, const boost::interprocess::file_mapping &file)
{
    try {
        region = boost::interprocess::mapped_region(file, boost::interprocess::copy_on_write);
        return true;
    } catch (const boost::interprocess::interprocess_exception &) {
        return false;
    }
}

// Reuse of addresses would let a second listener onto a port that is in use.
void allowPortReuse(boost::asio::ip::tcp::acceptor &acceptor)
{
    using exclusive = boost::asio::detail::socket_option::boolean<SOL_SOCKET, SO_EXCLUSIVEADDRUSE>;
    acceptor.set_option(exclusive(true));
}

void keepFromChildren(boost::asio::ip::tcp::socket &socket)
{
    keepHandleFromChildren(socket.native_handle());
}

void keepFromChildren(boost::asio::ip::tcp::acceptor &acceptor)
{
    keepHandleFromChildren(acceptor.native_handle());
}

void keepFromChildren(const boost::interprocess::file_mapping & /*file*/) {} // which is opened for this process alone

std::string environmentVariable(const char *name)
{
    char value[64];
    const auto size = GetEnvironmentVariableA(name, value, sizeof value);
    return {value, size < sizeof value ? size : 0};
}

std::uint32_t processId()
{
    return GetCurrentProcessId();
}

bool isRunning(std::uint32_t processId)
{
    const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, processId);
    if (process == nullptr)
        return GetLastError() != ERROR_INVALID_PARAMETER;
    const bool ended = WaitForSingleObject(process, 0) == WAIT_OBJECT_0; // while somebody has a handle of it
    CloseHandle(process);
    return !ended;
}

} // namespace localndi::system
