#pragma once

#include "ndi/local/MessageStream.h"
#include "ndi/local/Outbox.h"
#include "ndi/local/SenderRecord.h"

#include <chrono>
#include <deque>
#include <memory>
#include <vector>

namespace localndi
{

// A sender's side of one connection: first a stranger that has to show the password, then a finder or a receiver. It
// ends with the peer's process also when the system leaves it open, which has been seen under Wine.
//
// A receiver holds a bounded number of slots at a time; what comes while it holds that many, until it gives some back,
// waits here, the oldest going first. Receivers that are stopped can hold all slots of a sender between them
// nevertheless: then the owner takes back what it needs, with dropWaiting() and in the end by ending a connection.
// Threads: the context's only.
class SenderConnection final : private MessageStream::Listener
{
public:
    class Owner
    {
    public:
        // The number of receivers, what they want, or their tally is no longer the same.
        virtual void onReceiversChanged() = 0;
        // Destroys the connection.
        virtual void onEnd(SenderConnection &connection) = 0;

    protected:
        ~Owner() = default;
    };

    SenderConnection(boost::asio::ip::tcp::socket socket, Owner &owner, const SenderRecord &record);
    ~SenderConnection();
    SenderConnection(const SenderConnection &) = delete;
    SenderConnection &operator=(const SenderConnection &) = delete;

    bool isKnown() const { return m_known; }
    bool isReceiver() const { return m_known && m_role == Role::Receiver; }
    bool wants(MessageType type) const;
    TallyState tally() const { return m_tally; }

    void deliver(const OutgoingFrame &frame);
    // Sends all that waits, then says that no more comes.
    void finish();

    // How much a receiver is in the way of others with the slots of a kind; more is greater.
    struct Burden {
        using Time = std::chrono::steady_clock::time_point;

        bool isFull = false;      // keeps as many as it may
        Time since = Time::max(); // its oldest hold; max: holds none

        bool isAny() const { return since != Time::max(); }
        bool operator<(const Burden &other) const
        {
            return isFull != other.isFull ? other.isFull : since > other.since;
        }
    };
    Burden burden(MessageType type) const;
    // False when nothing waited.
    bool dropWaiting(MessageType type);

private:
    // The slots of one kind.
    struct Announced {
        FrameSlots::Hold hold;
        std::chrono::steady_clock::time_point at;
    };
    struct Window {
        std::vector<Announced> announced; // and not released, the oldest first
        std::deque<OutgoingFrame> waiting;
    };

    void onMessage(MessageType type, std::string_view body) override;
    bool onDeadline() override;
    void onEnd(MessageStream::End end) override;
    bool handle(MessageType type, std::string_view body);
    bool greet(const Hello &hello);
    void watch(std::uint32_t processId);
    bool release(const Release &release);
    Window &windowOf(MessageType type) { return type == MessageType::Video ? m_video : m_audio; }
    void announce(Window &window, const OutgoingFrame &frame);

    Owner &m_owner;
    const SenderRecord &m_record;
    const std::shared_ptr<MessageStream> m_stream;
    bool m_known = false;
    Role m_role = Role::Finder;
    std::uint32_t m_kinds = 0;
    std::uint32_t m_processId = 0; // of the peer
    TallyState m_tally{};
    Window m_video;
    Window m_audio;
};

} // namespace localndi
