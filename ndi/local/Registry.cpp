#include "ndi/local/Registry.h"

#include "ndi/local/System.h"

#include <boost/interprocess/exceptions.hpp>

#include <algorithm>
#include <optional>
#include <system_error>
#include <thread>

namespace localndi
{
namespace
{

namespace fs = std::filesystem;

constexpr char recordSuffix[] = ".sender";
constexpr char frameSuffix[] = ".frame";
constexpr std::size_t maximumRecordFile = 16384; // bytes
constexpr std::chrono::milliseconds lockPollPeriod{1};
constexpr std::chrono::milliseconds dropLockTime{20};
constexpr std::chrono::milliseconds readTime{1000};
constexpr std::chrono::seconds orphanAge{10};

// One per process, because a file lock is.
std::mutex processLock;

std::vector<fs::path> filesIn(const fs::path &folder, const char *suffix)
{
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::directory_iterator file(folder, error), end; !error && file != end; file.increment(error))
        if (file->path().extension() == suffix)
            files.push_back(file->path());
    return files;
}

std::optional<SenderRecord> readRecordFile(const fs::path &file)
{
    return parseSenderRecord(system::readFile(file, maximumRecordFile));
}

// `<stem>.<kind><index>.<generation>.frame`
std::string stemOf(const fs::path &frameFile)
{
    const auto name = frameFile.filename().string();
    return name.substr(0, name.find('.'));
}

// A sender that takes its leave has no record any more while its receivers may still be opening its last frames.
bool isOld(const fs::path &file)
{
    std::error_code error;
    const auto written = fs::last_write_time(file, error);
    return !error && fs::file_time_type::clock::now() - written > orphanAge;
}

// A system may refuse to replace or remove a file that somebody has open. Whoever reads a record is soon through with
// it.
template <typename Change>
bool changeWhenRead(const Change &change)
{
    const auto deadline = std::chrono::steady_clock::now() + readTime;
    std::error_code error;
    for (change(error); error; change(error)) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(lockPollPeriod);
    }
    return true;
}

void removeFile(const fs::path &file)
{
    std::error_code ignored; // another process may have been faster
    fs::remove(file, ignored);
}

} // namespace

Registry::Lock::Lock(const Registry &registry, std::chrono::milliseconds timeout)
    : m_process(processLock, std::defer_lock)
{
    if (!registry.isAvailable())
        return;
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    const auto waitsFor = [deadline](auto &lock) {
        while (!lock.try_lock()) {
            if (std::chrono::steady_clock::now() >= deadline)
                return false;
            std::this_thread::sleep_for(lockPollPeriod);
        }
        return true;
    };
    if (!waitsFor(m_process))
        return;
    try {
        const auto file = registry.m_folder / "lock";
        system::createPrivateFile(file, 0);
        m_file = boost::interprocess::file_lock(file.string().c_str());
        m_held = waitsFor(m_file);
    } catch (const boost::interprocess::interprocess_exception &) {
        m_held = false;
    }
}

Registry::Lock::~Lock()
{
    if (m_held)
        m_file.unlock();
}

Registry::Registry() : m_folder(system::privateFolder()) {}

std::vector<SenderRecord> Registry::records() const
{
    std::vector<SenderRecord> records;
    if (!isAvailable())
        return records;
    for (const auto &file : filesIn(m_folder, recordSuffix)) {
        auto record = readRecordFile(file);
        if (record && recordFile(record->port) == file)
            records.push_back(std::move(*record));
    }
    std::sort(records.begin(), records.end(),
              [](const SenderRecord &a, const SenderRecord &b) { return a.port < b.port; });
    return records;
}

bool Registry::publish(const Lock &lock, const SenderRecord &record) const
{
    if (!lock)
        return false;
    const auto file = recordFile(record.port);
    if (const auto previous = readRecordFile(file))
        removeFrameFiles(previous->fileStem());
    auto draft = file;
    draft.replace_extension(".draft");
    removeFile(draft);
    if (!system::createPrivateFile(draft, serialise(record)))
        return false;
    if (changeWhenRead([&](std::error_code &error) { fs::rename(draft, file, error); }))
        return true;
    removeFile(draft);
    return false;
}

void Registry::withdraw(const SenderRecord &record) const
{
    const auto file = recordFile(record.port);
    changeWhenRead([&](std::error_code &error) { fs::remove(file, error); });
}

bool Registry::dropStale(const SenderRecord &record) const
{
    const Lock lock(*this, dropLockTime);
    if (!lock)
        return false; // noticed again on the next look
    const auto file = recordFile(record.port);
    const auto current = readRecordFile(file);
    if (current && current->identity == record.identity) {
        removeFile(file);
        removeFrameFiles(record.fileStem());
    }
    removeOrphans(lock);
    return true;
}

void Registry::removeOrphans(const Lock &lock) const
{
    if (!lock)
        return;
    std::vector<std::string> stems;
    for (const auto &record : records())
        stems.push_back(record.fileStem());
    for (const auto &file : filesIn(m_folder, frameSuffix))
        if (isOld(file) && std::find(stems.begin(), stems.end(), stemOf(file)) == stems.end())
            removeFile(file);
}

fs::path Registry::frameFile(const std::string &stem, SlotKind kind, std::uint32_t index,
                             std::uint32_t generation) const
{
    const char letter = kind == SlotKind::Video ? 'v' : 'a';
    return m_folder / (stem + '.' + letter + std::to_string(index) + '.' + std::to_string(generation) + frameSuffix);
}

fs::path Registry::recordFile(std::uint16_t port) const
{
    return m_folder / (std::to_string(port) + recordSuffix);
}

void Registry::removeFrameFiles(const std::string &stem) const
{
    for (const auto &file : filesIn(m_folder, frameSuffix))
        if (stemOf(file) == stem)
            removeFile(file);
}

} // namespace localndi
