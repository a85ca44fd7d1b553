#pragma once

#include "ndi/include/Processing.NDI.Interface.h"
#include "ndi/local/CapturedFrames.h"
#include "ndi/local/IoThread.h"
#include "ndi/local/Jitter.h"
#include "ndi/local/ReceiveQueue.h"
#include "ndi/local/Registry.h"
#include "ndi/local/SenderLink.h"

#include <boost/asio/steady_timer.hpp>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace localndi
{

// A receiver of this process: looks for its sender in the registry until it has a connection to it, again whenever that
// ends, and queues what arrives for whoever captures.
//
// Threads: the public functions from any; the connection belongs to the IO thread. Nobody may still be inside a
// function when the object is destroyed. Ownership: captured frames are the receiver's until they are freed.
class Receiver final : private SenderLink::Listener
{
public:
    struct Settings {
        std::string name;    // as listed; empty: any
        std::string address; // as listed; empty: any
        std::int32_t colorFormat;
        std::uint32_t kinds; // bits of Kinds
        bool allowFields;
    };

    explicit Receiver(Settings settings);
    ~Receiver();

    NDIlib_frame_type_e capture(NDIlib_video_frame_v2_t *video, NDIlib_audio_frame_v2_t *audio,
                                NDIlib_metadata_frame_t *metadata, std::chrono::milliseconds timeout);
    void free(const void *data) { m_captured.free(data); }

    // Kept for the senders to come; false while there is no connection.
    bool setTally(TallyState tally);
    int connectionCount() const { return m_connected ? 1 : 0; }

private:
    // SenderLink::Listener, on the IO thread
    void onOpen(SenderLink &link) override;
    void onMessage(SenderLink &link, MessageType type, std::string_view body) override;
    void onEnd(SenderLink &link, SenderLink::End end) override;

    void lookLater();
    void look();
    void dropIdleLater();
    bool isWanted(const SenderRecord &record) const;
    void videoArrived(const VideoAnnouncement &announcement);
    void audioArrived(const AudioAnnouncement &announcement);
    bool isLost();
    void metadataArrived(std::string_view body);
    void queue(QueuedFrame frame);
    std::shared_ptr<ReceivedSlot> receive(const SlotPlace &place);
    void release(std::uint64_t connection, const Release &release);

    // The slots of a connection that are not given back.
    struct KeptSlots {
        std::atomic<std::size_t> video{0};
        std::atomic<std::size_t> audio{0};

        std::atomic<std::size_t> &of(SlotKind kind) { return kind == SlotKind::Video ? video : audio; }
    };

    IoThread m_io; // stopped first, destroyed last
    const Registry m_registry;
    const Settings m_settings;
    ReceiveQueue m_queue;
    CapturedFrames m_captured;
    std::atomic<bool> m_connected{false};

    std::mutex m_tallyLock; // guards the tally
    std::optional<TallyState> m_tally;

    // The IO thread's.
    boost::asio::steady_timer m_timer;
    boost::asio::steady_timer m_idleTimer;
    Jitter m_jitter;
    std::int64_t m_videoCount = 0; // that arrived or were lost
    std::unique_ptr<SenderLink> m_link;
    std::size_t m_failures = 0;               // to connect: of several senders of the name, each has its turn
    std::unique_ptr<SlotMappings> m_mappings; // of the link's sender
    std::shared_ptr<KeptSlots> m_kept;        // of the link's sender
    std::uint64_t m_connection = 0;           // counts them: a slot of an earlier one is not given back to this one
};

} // namespace localndi
