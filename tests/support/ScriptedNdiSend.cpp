// The way out of the scripted runtime.

#include "tests/support/ScriptedNdi.h"

#include <algorithm>
#include <memory>
#include <type_traits>

struct NDIlib_send_instance_type {
    std::optional<std::string> name;
    uint64_t seenTally = 0;
};

namespace
{

std::optional<std::string> textOf(const char *text)
{
    return text ? std::optional<std::string>(text) : std::nullopt;
}

ScriptedNdi::SentVideo copyOf(const NDIlib_video_frame_v2_t &frame)
{
    ScriptedNdi::SentVideo copy{frame, {}, textOf(frame.p_metadata)};
    if (frame.p_data && frame.line_stride_in_bytes > 0 && frame.yres > 0)
        copy.picture.assign(frame.p_data,
                            frame.p_data + static_cast<ptrdiff_t>(frame.line_stride_in_bytes) * frame.yres);
    return copy;
}

ScriptedNdi::SentAudio copyOf(const NDIlib_audio_frame_v2_t &frame)
{
    ScriptedNdi::SentAudio copy{frame, {}, textOf(frame.p_metadata)};
    const auto *const bytes = reinterpret_cast<const uint8_t *>(frame.p_data);
    for (int channel = 0; frame.no_samples > 0 && channel < frame.no_channels; ++channel) {
        const auto *const samples =
            reinterpret_cast<const float *>(bytes + static_cast<ptrdiff_t>(channel) * frame.channel_stride_in_bytes);
        copy.channels.emplace_back(samples, samples + frame.no_samples);
    }
    return copy;
}

} // namespace

// The runtime's functions, with the script's insides at hand.
struct ScriptedNdiSendAccess {
    static NDIlib_send_instance_t create(const NDIlib_send_create_t &settings)
    {
        ScriptedNdi &script = ScriptedNdi::instance();
        const std::lock_guard<std::mutex> lock(script.m_mutex);
        script.m_calls.senderSettings.push_back(
            {textOf(settings.p_ndi_name), textOf(settings.p_groups), settings.clock_video, settings.clock_audio});
        note(script, ScriptedNdi::SendCall::Create);
        if (script.m_refuseSenders)
            return nullptr;
        ++script.m_calls.sendersMade;
        const NDIlib_send_instance_t sender = std::make_unique<NDIlib_send_instance_type>().release();
        sender->name = textOf(settings.p_ndi_name);
        if (std::any_of(script.m_senders.begin(), script.m_senders.end(),
                        [sender](const auto *other) { return other->name == sender->name; }))
            ++script.m_calls.namesakes;
        script.m_senders.insert(sender);
        return sender;
    }

    static void destroy(NDIlib_send_instance_t sender)
    {
        const Use use(sender, ScriptedNdi::SendCall::Destroy);
        if (!use.isKnown())
            return;
        const std::unique_ptr<NDIlib_send_instance_type> owned(sender);
        ScriptedNdi &script = ScriptedNdi::instance();
        const std::lock_guard<std::mutex> lock(script.m_mutex);
        script.m_senders.erase(sender);
        ++script.m_calls.sendersDestroyed;
        script.m_changed.notify_all();
    }

    template <typename Frame>
    static void send(NDIlib_send_instance_t sender, const Frame &frame, ScriptedNdi::SendCall call)
    {
        const Use use(sender, call);
        if (!use.isKnown())
            return;
        ScriptedNdi &script = ScriptedNdi::instance();
        use.waitWhileHeld();
        auto copy = copyOf(frame); // without the lock, so that calls that overlap are seen
        const std::lock_guard<std::mutex> lock(script.m_mutex);
        if constexpr (std::is_same_v<Frame, NDIlib_video_frame_v2_t>)
            keep(script, std::move(copy), script.m_calls.sentVideo, script.m_calls.videoSends);
        else
            keep(script, std::move(copy), script.m_calls.sentAudio, script.m_calls.audioSends);
    }

    static void sendAsync(NDIlib_send_instance_t sender, const NDIlib_video_frame_v2_t *frame)
    {
        const Use use(sender, frame ? ScriptedNdi::SendCall::VideoAsync : ScriptedNdi::SendCall::Flush);
    }

    static void sendMetadata(NDIlib_send_instance_t sender, const NDIlib_metadata_frame_t &frame)
    {
        // Beside the others: it may come while a frame is being sent.
        ScriptedNdi &script = ScriptedNdi::instance();
        const std::lock_guard<std::mutex> lock(script.m_mutex);
        note(script, ScriptedNdi::SendCall::Metadata);
        if (script.m_senders.count(sender) == 0)
            ++script.m_calls.straySendCalls;
        else
            keep(script, ScriptedNdi::SentMetadata{frame.length, frame.timecode, textOf(frame.p_data)},
                 script.m_calls.sentMetadata, script.m_calls.metadataSends);
    }

    static bool tally(NDIlib_send_instance_t sender, NDIlib_tally_t &tally, uint32_t timeout)
    {
        ScriptedNdi &script = ScriptedNdi::instance();
        std::unique_lock<std::mutex> lock(script.m_mutex);
        const bool changed = script.m_changed.wait_for(lock, std::chrono::milliseconds(timeout),
                                                       [&] { return script.m_tallyVersion != sender->seenTally; });
        sender->seenTally = script.m_tallyVersion;
        tally = script.m_senderTally;
        return changed;
    }

    static int connections(uint32_t timeout)
    {
        ScriptedNdi &script = ScriptedNdi::instance();
        std::unique_lock<std::mutex> lock(script.m_mutex);
        script.m_changed.wait_for(lock, std::chrono::milliseconds(timeout), [&] { return script.m_connections > 0; });
        return script.m_connections;
    }

private:
    // One call that must exclude the others of its kind on the same sender.
    class Use
    {
    public:
        Use(NDIlib_send_instance_t sender, ScriptedNdi::SendCall call)
        {
            ScriptedNdi &script = ScriptedNdi::instance();
            const std::lock_guard<std::mutex> lock(script.m_mutex);
            note(script, call);
            m_sender = script.m_senders.count(sender) == 0 ? nullptr : sender;
            if (!m_sender)
                ++script.m_calls.straySendCalls;
            else if (!script.m_sendersInUse.insert(m_sender).second)
                ++script.m_calls.overlappingSendCalls;
        }
        Use(const Use &) = delete;
        Use &operator=(const Use &) = delete;
        ~Use()
        {
            ScriptedNdi &script = ScriptedNdi::instance();
            const std::lock_guard<std::mutex> lock(script.m_mutex);
            script.m_sendersInUse.erase(m_sender);
        }

        bool isKnown() const { return m_sender != nullptr; }

        void waitWhileHeld() const
        {
            ScriptedNdi &script = ScriptedNdi::instance();
            std::unique_lock<std::mutex> lock(script.m_mutex);
            ++script.m_calls.sendsEntered;
            script.m_changed.notify_all();
            if (!script.m_changed.wait_for(lock, std::chrono::seconds(20), [&] { return !script.m_holdSends; }))
                ++script.m_calls.holdsOver;
        }

    private:
        NDIlib_send_instance_t m_sender = nullptr;
    };

    // The lock must be held, for the next too.
    static void note(ScriptedNdi &script, ScriptedNdi::SendCall call)
    {
        if (script.m_keepSent)
            script.m_calls.sendCalls.push_back(call);
        script.m_changed.notify_all();
    }

    template <typename Sent>
    static void keep(ScriptedNdi &script, Sent sent, std::vector<Sent> &all, int &count)
    {
        ++count;
        if (script.m_keepSent)
            all.push_back(std::move(sent));
        script.m_changed.notify_all();
    }
};

void ScriptedNdi::refuseSenders(bool refuse)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_refuseSenders = refuse;
}

void ScriptedNdi::holdSends(bool hold)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_holdSends = hold;
    m_changed.notify_all();
}

void ScriptedNdi::keepSent(bool keep)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_keepSent = keep;
}

void ScriptedNdi::setSenderTally(NDIlib_tally_t tally)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_senderTally = tally;
    ++m_tallyVersion;
    m_changed.notify_all();
}

void ScriptedNdi::setConnections(int count)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_connections = count;
    m_changed.notify_all();
}

NDIlib_send_instance_t NDIlib_send_create(const NDIlib_send_create_t *settings)
{
    return ScriptedNdiSendAccess::create(*settings);
}

void NDIlib_send_destroy(NDIlib_send_instance_t sender)
{
    ScriptedNdiSendAccess::destroy(sender);
}

void NDIlib_send_send_video_v2(NDIlib_send_instance_t sender, const NDIlib_video_frame_v2_t *frame)
{
    ScriptedNdiSendAccess::send(sender, *frame, ScriptedNdi::SendCall::Video);
}

void NDIlib_send_send_video_async_v2(NDIlib_send_instance_t sender, const NDIlib_video_frame_v2_t *frame)
{
    ScriptedNdiSendAccess::sendAsync(sender, frame);
}

void NDIlib_send_send_audio_v2(NDIlib_send_instance_t sender, const NDIlib_audio_frame_v2_t *frame)
{
    ScriptedNdiSendAccess::send(sender, *frame, ScriptedNdi::SendCall::Audio);
}

void NDIlib_send_send_metadata(NDIlib_send_instance_t sender, const NDIlib_metadata_frame_t *frame)
{
    ScriptedNdiSendAccess::sendMetadata(sender, *frame);
}

bool NDIlib_send_get_tally(NDIlib_send_instance_t sender, NDIlib_tally_t *tally, uint32_t timeout)
{
    return ScriptedNdiSendAccess::tally(sender, *tally, timeout);
}

int NDIlib_send_get_no_connections(NDIlib_send_instance_t, uint32_t timeout)
{
    return ScriptedNdiSendAccess::connections(timeout);
}

void NDIlib_util_audio_from_interleaved_32f_v2(const NDIlib_audio_frame_interleaved_32f_t *source,
                                               NDIlib_audio_frame_v2_t *destination)
{
    destination->sample_rate = source->sample_rate;
    destination->no_channels = source->no_channels;
    destination->no_samples = source->no_samples;
    destination->timecode = source->timecode;
    auto *const bytes = reinterpret_cast<uint8_t *>(destination->p_data);
    for (int channel = 0; source->no_samples > 0 && channel < source->no_channels; ++channel) {
        auto *const samples =
            reinterpret_cast<float *>(bytes + static_cast<ptrdiff_t>(channel) * destination->channel_stride_in_bytes);
        for (int sample = 0; sample < source->no_samples; ++sample)
            samples[sample] = source->p_data[static_cast<ptrdiff_t>(sample) * source->no_channels + channel];
    }
}
