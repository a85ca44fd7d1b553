#pragma once

#include <QtCore/QString>

#include <memory>
#include <mutex>

namespace host
{

// A recording that another thread begins, ends and asks about while one thread writes. Files are opened, written and
// closed outside the lock: a slow disk holds up the writing thread and nobody else.
template <typename Writer>
class Recorder
{
public:
    // From the next write on; an empty path ends the recording.
    void record(const QString &path)
    {
        std::shared_ptr<Writer> writer = path.isEmpty() ? nullptr : std::make_shared<Writer>(path);
        const std::lock_guard<std::mutex> guard(m_lock);
        m_writer.swap(writer); // the one before goes after the lock, or when its write is over
        m_error.clear();
    }

    // By one thread at a time.
    template <typename... Arguments>
    void write(const Arguments &...arguments)
    {
        std::shared_ptr<Writer> writer;
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            writer = m_writer;
        }
        if (!writer)
            return;
        writer->write(arguments...);
        const QString error = writer->error();
        const std::lock_guard<std::mutex> guard(m_lock);
        if (m_writer == writer)
            m_error = error;
    }

    // Why the recording stopped; empty while all is well.
    QString error() const
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_error;
    }

private:
    mutable std::mutex m_lock; // guards what follows, not the writer itself
    std::shared_ptr<Writer> m_writer;
    QString m_error;
};

} // namespace host
