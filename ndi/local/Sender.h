#pragma once

#include "ndi/include/Processing.NDI.Interface.h"
#include "ndi/local/FrameShape.h"
#include "ndi/local/FrameSlots.h"
#include "ndi/local/IoThread.h"
#include "ndi/local/Outbox.h"
#include "ndi/local/Pacer.h"
#include "ndi/local/Registration.h"
#include "ndi/local/SenderConnection.h"
#include "ndi/local/TallyBoard.h"
#include "ndi/local/TimecodeClock.h"

#include <boost/asio/steady_timer.hpp>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

namespace localndi
{

// A sender of this process: a name in the registry, frames written once into shared memory, and the connections that
// hear of them.
//
// Threads: the public functions from any; those that send block for pacing and are serialised per kind. Connections
// belong to the IO thread. Nobody may still be inside a function when the object is destroyed.
class Sender final : private SenderConnection::Owner
{
public:
    struct Settings {
        std::string name;
        std::string groups;
        bool clockVideo;
        bool clockAudio;
    };

    // Throws std::exception when the sender cannot be published.
    explicit Sender(const Settings &settings);
    // Waits until the receivers have taken what was sent last, for a limited time.
    ~Sender();

    // What cannot be sent is ignored. Copies the frame: nothing of it is in use after the call.
    void sendVideo(const NDIlib_video_frame_v2_t &frame);
    void sendAudio(const NDIlib_audio_frame_v2_t &frame);
    void sendMetadata(const NDIlib_metadata_frame_t &frame);

    TallyBoard::Reading readTally(std::chrono::milliseconds timeout) { return m_tally.read(timeout); }
    // Waits for the first receiver at most `timeout`.
    int connectionCount(std::chrono::milliseconds timeout);

private:
    // SenderConnection::Owner, on the IO thread
    void onReceiversChanged() override;
    void onEnd(SenderConnection &connection) override;

    void accept();
    void acceptLater();
    void freeIdleLater();
    void add(boost::asio::ip::tcp::socket socket);
    FrameSlots::Hold acquire(FrameSlots &slots, MessageType type, std::uint64_t size);
    bool makeRoom(MessageType type);
    void post(OutgoingFrame frame);
    void announceAll();
    void broadcast(const OutgoingFrame &frame);
    void echo(TallyState tally);

    IoThread m_io; // stopped first, destroyed last
    Registration m_registration;
    const bool m_clockVideo;
    const bool m_clockAudio;
    TimecodeClock m_timecodes;
    TallyBoard m_tally;
    FrameSlots m_videoSlots;
    FrameSlots m_audioSlots;
    Outbox m_outbox;

    std::mutex m_videoLock; // one video frame at a time; taken before any other
    Pacer m_videoPacer;
    std::mutex m_audioLock; // one audio frame at a time; taken before any other
    Pacer m_audioPacer;

    std::mutex m_countLock; // guards the count
    std::condition_variable m_countChanged;
    int m_receiverCount = 0;
    std::atomic<int> m_videoReceivers{0};
    std::atomic<int> m_audioReceivers{0};

    // The IO thread's.
    boost::asio::steady_timer m_acceptTimer;
    boost::asio::steady_timer m_idleTimer;
    std::vector<std::unique_ptr<SenderConnection>> m_connections;
};

} // namespace localndi
