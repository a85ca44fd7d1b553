#pragma once

#include "Processing.NDI.Interface.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

// An NDI runtime that does what a test tells it to, and remembers what it was asked. It defines the runtime's
// functions; one script serves all finders, receivers and senders of the process. Thread-safe.
class ScriptedNdi
{
public:
    static ScriptedNdi &instance();

    // Back to an empty network. Returns false when finders, receivers, senders or captured frames were never given
    // back, or when a sender was used that was not there, or by two at once.
    bool reset();

    // What the network looks like: names and addresses. Wakes finders.
    void setSources(std::vector<std::pair<std::string, std::string>> sources);
    void refuseInitialize(bool refuse);
    void refuseFinders(bool refuse);
    // The next so many finders hear of no sender for as long as they live.
    void deafenFinders(int count);
    void refuseReceivers(bool refuse);
    void refuseSenders(bool refuse);

    // Called by whoever waits for sources, or turns planar audio into interleaved, before the runtime does; may throw.
    void setWaitHook(std::function<void()> hook);
    void setInterleaveHook(std::function<void()> hook);

    // Video and audio sends wait inside the runtime as long as they are held, 20 s at most.
    void holdSends(bool hold);
    // Whether what is sent is kept; otherwise it is only counted.
    void keepSent(bool keep);
    // What the receivers of every sender show and how many they are.
    void setSenderTally(NDIlib_tally_t tally);
    void setConnections(int count);

    // Frames for the next captures, in order. The descriptor's data pointers are replaced by copies of `data`; with no
    // data the frame keeps a null pointer. A null `metadata` gives a frame without.
    void pushVideo(NDIlib_video_frame_v2_t frame, std::vector<uint8_t> data, const char *metadata = nullptr);
    void pushAudio(NDIlib_audio_frame_v2_t frame, std::vector<float> data, const char *metadata = nullptr);
    void pushMetadata(const std::string &text);
    void pushType(NDIlib_frame_type_e type);

    enum class SendCall { Create, Video, VideoAsync, Flush, Audio, Metadata, Destroy };
    struct SenderSettings {
        std::optional<std::string> name;
        std::optional<std::string> groups;
        bool clockVideo;
        bool clockAudio;
    };
    // Frames as they were sent, with copies of what their pointers led to.
    struct SentVideo {
        NDIlib_video_frame_v2_t frame;
        std::vector<uint8_t> picture;
        std::optional<std::string> metadata;
    };
    struct SentAudio {
        NDIlib_audio_frame_v2_t frame;
        std::vector<std::vector<float>> channels;
        std::optional<std::string> metadata;
    };
    struct SentMetadata {
        int length;
        int64_t timecode;
        std::optional<std::string> text;
    };

    // What was asked. All of these may be awaited with waitFor().
    struct Calls {
        int initialized = 0;
        int destroyed = 0;
        int aliveWhenDestroyed = 0; // finders, receivers and senders, over all times that the runtime was destroyed
        int findersMade = 0;
        int findersDestroyed = 0;
        int waits = 0;
        std::vector<uint32_t> waitTimeouts;
        int receiversMade = 0;
        int receiversDestroyed = 0;
        int captures = 0;
        uint32_t captureTimeout = 0; // of the last capture
        int capturedFrames = 0;
        int freedFrames = 0;
        int wrongFrees = 0;
        std::vector<NDIlib_find_create_t> findSettings;
        std::vector<NDIlib_recv_create_t> receiverSettings; // without the source's strings
        std::vector<std::pair<std::string, std::string>> connectedTo;
        std::vector<NDIlib_tally_t> tallies;
        int sendersMade = 0;
        int sendersDestroyed = 0;
        int namesakes = 0;    // senders made while another one of that name was there
        int sendsEntered = 0; // of video and audio, held ones included
        int holdsOver = 0;    // held sends that went on because the time was over
        int videoSends = 0;
        int audioSends = 0;
        int metadataSends = 0;
        int straySendCalls = 0;
        int overlappingSendCalls = 0;
        std::vector<SenderSettings> senderSettings;
        std::vector<SentVideo> sentVideo;
        std::vector<SentAudio> sentAudio;
        std::vector<SentMetadata> sentMetadata;
        std::vector<SendCall> sendCalls; // in the order in which they came
    };
    Calls calls();
    // Whether the predicate came true before the deadline; it is asked again after every call of the runtime.
    bool waitFor(const std::function<bool(const Calls &)> &predicate,
                 std::chrono::milliseconds deadline = std::chrono::seconds(20));
    size_t framesLeft();

private:
    friend struct ScriptedNdiAccess;
    friend struct ScriptedNdiSendAccess;

    struct Frame {
        NDIlib_frame_type_e type = NDIlib_frame_type_none;
        NDIlib_video_frame_v2_t video;
        NDIlib_audio_frame_v2_t audio;
        std::vector<uint8_t> bytes;
        std::vector<float> samples;
        std::string text;
        bool hasText = false;
    };

    void push(Frame frame);

    std::mutex m_mutex; // guards everything below
    std::condition_variable m_changed;
    Calls m_calls;
    bool m_refuseInitialize = false;
    bool m_refuseFinders = false;
    int m_deafFinders = 0; // of those to be made
    bool m_refuseReceivers = false;
    std::function<void()> m_waitHook;
    std::function<void()> m_interleaveHook;
    uint64_t m_sourcesVersion = 0;
    std::vector<std::pair<std::string, std::string>> m_sources;
    std::deque<Frame> m_frames;
    std::map<uint64_t, Frame> m_lent; // by the number that a captured frame carries in its timestamp
    uint64_t m_lastLent = 0;
    bool m_refuseSenders = false;
    bool m_holdSends = false;
    bool m_keepSent = true;
    std::set<NDIlib_send_instance_t> m_senders;
    std::set<NDIlib_send_instance_t> m_sendersInUse;
    NDIlib_tally_t m_senderTally;
    uint64_t m_tallyVersion = 0;
    int m_connections = 0;
};
