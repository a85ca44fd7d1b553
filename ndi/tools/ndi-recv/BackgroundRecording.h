#pragma once

// A file that is written on a thread of its own, so that a slow disk holds up nobody. What is to be written waits in
// memory, up to a limit; beyond it, it is left out and counted.

#include <QtCore/QString>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>

namespace ndirecv
{

// `Writer` is made of a path and has write(const Record &), finish() and error(), empty while all is well.
template <class Writer, class Record>
class BackgroundRecording
{
public:
    // `mostBytes`: of records that wait.
    BackgroundRecording(const QString &path, std::size_t mostBytes)
        : m_path(path), m_mostBytes(mostBytes), m_thread([this] { run(); })
    {
    }
    ~BackgroundRecording() { finish(); }

    BackgroundRecording(const BackgroundRecording &) = delete;
    BackgroundRecording &operator=(const BackgroundRecording &) = delete;

    const QString &path() const { return m_path; }

    // By one thread. False when the record is left out.
    bool write(Record record, std::size_t bytes)
    {
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            if (m_waitingBytes + bytes > m_mostBytes && !m_waiting.empty()) {
                ++m_leftOut;
                return false;
            }
            m_waitingBytes += bytes;
            m_waiting.push_back({std::move(record), bytes});
        }
        m_changed.notify_one();
        return true;
    }

    // Writes what still waits and closes the file.
    void finish()
    {
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            m_isFinished = true;
        }
        m_changed.notify_one();
        if (m_thread.joinable())
            m_thread.join();
    }

    // Why nothing more is written; empty while all is well.
    QString error() const
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_error;
    }
    std::int64_t leftOut() const
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_leftOut;
    }

private:
    struct Waiting {
        Record record;
        std::size_t bytes = 0;
    };

    void run()
    {
        Writer writer(m_path);
        while (const std::optional<Waiting> next = take()) {
            writer.write(next->record);
            written(next->bytes, writer.error());
        }
        writer.finish();
        written(0, writer.error());
    }

    void written(std::size_t bytes, const QString &error)
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_waitingBytes -= bytes;
        m_error = error;
    }

    std::optional<Waiting> take()
    {
        std::unique_lock<std::mutex> guard(m_lock);
        m_changed.wait(guard, [this] { return m_isFinished || !m_waiting.empty(); });
        if (m_waiting.empty())
            return std::nullopt;
        Waiting next = std::move(m_waiting.front());
        m_waiting.pop_front();
        return next;
    }

    const QString m_path;
    const std::size_t m_mostBytes;
    mutable std::mutex m_lock; // guards what follows, not the thread
    std::condition_variable m_changed;
    std::deque<Waiting> m_waiting;
    std::size_t m_waitingBytes = 0; // of what waits and of what is being written
    std::int64_t m_leftOut = 0;
    bool m_isFinished = false;
    QString m_error;
    std::thread m_thread; // last, as it uses all of the above
};

} // namespace ndirecv
