#include "tests/support/ScriptedNdi.h"

#include <cstring>
#include <memory>

struct NDIlib_find_instance_type {
    bool isDeaf = false;
    uint64_t seenVersion = 0;
    std::vector<std::pair<std::string, std::string>> listed;
    std::vector<NDIlib_source_t> sources;
};

struct NDIlib_recv_instance_type {
    int number = 0;
};

ScriptedNdi &ScriptedNdi::instance()
{
    static ScriptedNdi script;
    return script;
}

bool ScriptedNdi::reset()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool clean = m_calls.findersMade == m_calls.findersDestroyed &&
                       m_calls.receiversMade == m_calls.receiversDestroyed && m_lent.empty() &&
                       m_calls.wrongFrees == 0 && m_senders.empty() && m_calls.straySendCalls == 0 &&
                       m_calls.overlappingSendCalls == 0;
    m_calls = Calls();
    m_refuseInitialize = m_refuseFinders = m_refuseReceivers = m_refuseSenders = false;
    m_deafFinders = 0;
    m_waitHook = m_interleaveHook = nullptr;
    m_holdSends = false;
    m_keepSent = true;
    m_senderTally = NDIlib_tally_t();
    m_tallyVersion = 0;
    m_connections = 0;
    m_sources.clear();
    m_sourcesVersion = 0;
    m_frames.clear();
    m_lent.clear();
    return clean;
}

void ScriptedNdi::setSources(std::vector<std::pair<std::string, std::string>> sources)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_sources = std::move(sources);
    ++m_sourcesVersion;
    m_changed.notify_all();
}

void ScriptedNdi::refuseInitialize(bool refuse)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_refuseInitialize = refuse;
}

void ScriptedNdi::refuseFinders(bool refuse)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_refuseFinders = refuse;
}

void ScriptedNdi::deafenFinders(int count)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_deafFinders = count;
}

void ScriptedNdi::refuseReceivers(bool refuse)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_refuseReceivers = refuse;
}

void ScriptedNdi::setWaitHook(std::function<void()> hook)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_waitHook = std::move(hook);
}

void ScriptedNdi::setInterleaveHook(std::function<void()> hook)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_interleaveHook = std::move(hook);
}

void ScriptedNdi::push(Frame frame)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_frames.push_back(std::move(frame));
    m_changed.notify_all();
}

void ScriptedNdi::pushVideo(NDIlib_video_frame_v2_t video, std::vector<uint8_t> data, const char *metadata)
{
    Frame frame;
    frame.type = NDIlib_frame_type_video;
    frame.video = video;
    frame.bytes = std::move(data);
    frame.hasText = metadata != nullptr;
    frame.text = metadata ? metadata : "";
    push(std::move(frame));
}

void ScriptedNdi::pushAudio(NDIlib_audio_frame_v2_t audio, std::vector<float> data, const char *metadata)
{
    Frame frame;
    frame.type = NDIlib_frame_type_audio;
    frame.audio = audio;
    frame.samples = std::move(data);
    frame.hasText = metadata != nullptr;
    frame.text = metadata ? metadata : "";
    push(std::move(frame));
}

void ScriptedNdi::pushMetadata(const std::string &text)
{
    Frame frame;
    frame.type = NDIlib_frame_type_metadata;
    frame.text = text;
    push(std::move(frame));
}

void ScriptedNdi::pushType(NDIlib_frame_type_e type)
{
    Frame frame;
    frame.type = type;
    push(std::move(frame));
}

ScriptedNdi::Calls ScriptedNdi::calls()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_calls;
}

bool ScriptedNdi::waitFor(const std::function<bool(const Calls &)> &predicate, std::chrono::milliseconds deadline)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, deadline, [&] { return predicate(m_calls); });
}

size_t ScriptedNdi::framesLeft()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_frames.size();
}

// The runtime's functions, with the script's insides at hand.
struct ScriptedNdiAccess {
    static bool initialize()
    {
        ScriptedNdi &script = ScriptedNdi::instance();
        const std::lock_guard<std::mutex> lock(script.m_mutex);
        ++script.m_calls.initialized;
        script.m_changed.notify_all();
        return !script.m_refuseInitialize;
    }

    static void destroy()
    {
        ScriptedNdi &script = ScriptedNdi::instance();
        const std::lock_guard<std::mutex> lock(script.m_mutex);
        const ScriptedNdi::Calls &calls = script.m_calls;
        script.m_calls.aliveWhenDestroyed += calls.findersMade - calls.findersDestroyed + calls.receiversMade -
                                             calls.receiversDestroyed + static_cast<int>(script.m_senders.size());
        ++script.m_calls.destroyed;
        script.m_changed.notify_all();
    }

    static NDIlib_find_instance_t createFinder(const NDIlib_find_create_t *settings)
    {
        ScriptedNdi &script = ScriptedNdi::instance();
        const std::lock_guard<std::mutex> lock(script.m_mutex);
        script.m_calls.findSettings.push_back(*settings);
        script.m_changed.notify_all();
        if (script.m_refuseFinders)
            return nullptr;
        ++script.m_calls.findersMade;
        auto finder = std::make_unique<NDIlib_find_instance_type>();
        if (script.m_deafFinders > 0) {
            --script.m_deafFinders;
            finder->isDeaf = true;
        }
        return finder.release();
    }

    static void destroyFinder(NDIlib_find_instance_t finder)
    {
        const std::unique_ptr<NDIlib_find_instance_type> owned(finder);
        ScriptedNdi &script = ScriptedNdi::instance();
        const std::lock_guard<std::mutex> lock(script.m_mutex);
        ++script.m_calls.findersDestroyed;
        script.m_changed.notify_all();
    }

    // Runs the test's function outside the lock.
    static void callHook(std::function<void()> ScriptedNdi::*hook)
    {
        ScriptedNdi &script = ScriptedNdi::instance();
        std::function<void()> function;
        {
            const std::lock_guard<std::mutex> lock(script.m_mutex);
            function = script.*hook;
        }
        if (function)
            function();
    }

    static bool waitForSources(NDIlib_find_instance_t finder, uint32_t timeout)
    {
        callHook(&ScriptedNdi::m_waitHook);
        ScriptedNdi &script = ScriptedNdi::instance();
        std::unique_lock<std::mutex> lock(script.m_mutex);
        ++script.m_calls.waits;
        script.m_calls.waitTimeouts.push_back(timeout);
        script.m_changed.notify_all();
        const bool changed = script.m_changed.wait_for(lock, std::chrono::milliseconds(timeout), [&] {
            return !finder->isDeaf && script.m_sourcesVersion != finder->seenVersion;
        });
        finder->seenVersion = script.m_sourcesVersion;
        return changed;
    }

    static const NDIlib_source_t *currentSources(NDIlib_find_instance_t finder, uint32_t *count)
    {
        ScriptedNdi &script = ScriptedNdi::instance();
        const std::lock_guard<std::mutex> lock(script.m_mutex);
        if (!finder->isDeaf)
            finder->listed = script.m_sources;
        finder->sources.clear();
        finder->sources.reserve(finder->listed.size() + 1);
        for (const auto &[name, address] : finder->listed) {
            NDIlib_source_t source;
            source.p_ndi_name = name.c_str();
            source.p_url_address = address.c_str();
            finder->sources.push_back(source);
        }
        *count = static_cast<uint32_t>(finder->sources.size());
        return finder->sources.data();
    }

    static NDIlib_recv_instance_t createReceiver(const NDIlib_recv_create_t *settings)
    {
        ScriptedNdi &script = ScriptedNdi::instance();
        const std::lock_guard<std::mutex> lock(script.m_mutex);
        const NDIlib_source_t &source = settings->source_to_connect_to;
        script.m_calls.connectedTo.emplace_back(source.p_ndi_name ? source.p_ndi_name : "",
                                                source.p_url_address ? source.p_url_address : "");
        NDIlib_recv_create_t kept = *settings;
        kept.source_to_connect_to = NDIlib_source_t();
        script.m_calls.receiverSettings.push_back(kept);
        script.m_changed.notify_all();
        if (script.m_refuseReceivers)
            return nullptr;
        ++script.m_calls.receiversMade;
        return std::make_unique<NDIlib_recv_instance_type>().release();
    }

    static void destroyReceiver(NDIlib_recv_instance_t receiver)
    {
        const std::unique_ptr<NDIlib_recv_instance_type> owned(receiver);
        ScriptedNdi &script = ScriptedNdi::instance();
        const std::lock_guard<std::mutex> lock(script.m_mutex);
        ++script.m_calls.receiversDestroyed;
        script.m_changed.notify_all();
    }

    static NDIlib_frame_type_e capture(NDIlib_video_frame_v2_t *video, NDIlib_audio_frame_v2_t *audio,
                                       NDIlib_metadata_frame_t *metadata, uint32_t timeout)
    {
        ScriptedNdi &script = ScriptedNdi::instance();
        std::unique_lock<std::mutex> lock(script.m_mutex);
        ++script.m_calls.captures;
        script.m_calls.captureTimeout = timeout;
        script.m_changed.notify_all();
        script.m_changed.wait_for(lock, std::chrono::milliseconds(timeout), [&] { return !script.m_frames.empty(); });
        if (script.m_frames.empty())
            return NDIlib_frame_type_none;
        ScriptedNdi::Frame taken = std::move(script.m_frames.front());
        script.m_frames.pop_front();
        const bool isLent = taken.type == NDIlib_frame_type_video || taken.type == NDIlib_frame_type_audio ||
                            taken.type == NDIlib_frame_type_metadata;
        script.m_changed.notify_all();
        if (!isLent)
            return taken.type;

        const uint64_t number = ++script.m_lastLent;
        ScriptedNdi::Frame &frame = script.m_lent[number] = std::move(taken);
        ++script.m_calls.capturedFrames;
        const char *const text = frame.hasText ? frame.text.c_str() : nullptr;
        if (frame.type == NDIlib_frame_type_video) {
            *video = frame.video;
            video->p_data = frame.bytes.empty() ? nullptr : frame.bytes.data();
            video->p_metadata = text;
            video->timestamp = static_cast<int64_t>(number);
        } else if (frame.type == NDIlib_frame_type_audio) {
            *audio = frame.audio;
            audio->p_data = frame.samples.empty() ? nullptr : frame.samples.data();
            audio->p_metadata = text;
            audio->timestamp = static_cast<int64_t>(number);
        } else {
            metadata->p_data = frame.text.data();
            metadata->length = static_cast<int>(frame.text.size()) + 1;
            metadata->timecode = static_cast<int64_t>(number);
        }
        return frame.type;
    }

    static void free(int64_t number, NDIlib_frame_type_e type)
    {
        ScriptedNdi &script = ScriptedNdi::instance();
        const std::lock_guard<std::mutex> lock(script.m_mutex);
        const auto lent = script.m_lent.find(static_cast<uint64_t>(number));
        if (lent == script.m_lent.end() || lent->second.type != type)
            ++script.m_calls.wrongFrees;
        else
            script.m_lent.erase(lent);
        ++script.m_calls.freedFrames;
        script.m_changed.notify_all();
    }

    static void beforeInterleaving() { callHook(&ScriptedNdi::m_interleaveHook); }

    static void setTally(const NDIlib_tally_t &tally)
    {
        ScriptedNdi &script = ScriptedNdi::instance();
        const std::lock_guard<std::mutex> lock(script.m_mutex);
        script.m_calls.tallies.push_back(tally);
        script.m_changed.notify_all();
    }
};

bool NDIlib_initialize()
{
    return ScriptedNdiAccess::initialize();
}

void NDIlib_destroy()
{
    ScriptedNdiAccess::destroy();
}

const char *NDIlib_version()
{
    return "scripted";
}

NDIlib_find_instance_t NDIlib_find_create_v2(const NDIlib_find_create_t *settings)
{
    return ScriptedNdiAccess::createFinder(settings);
}

void NDIlib_find_destroy(NDIlib_find_instance_t finder)
{
    ScriptedNdiAccess::destroyFinder(finder);
}

bool NDIlib_find_wait_for_sources(NDIlib_find_instance_t finder, uint32_t timeout)
{
    return ScriptedNdiAccess::waitForSources(finder, timeout);
}

const NDIlib_source_t *NDIlib_find_get_current_sources(NDIlib_find_instance_t finder, uint32_t *count)
{
    return ScriptedNdiAccess::currentSources(finder, count);
}

NDIlib_recv_instance_t NDIlib_recv_create_v2(const NDIlib_recv_create_t *settings)
{
    return ScriptedNdiAccess::createReceiver(settings);
}

void NDIlib_recv_destroy(NDIlib_recv_instance_t receiver)
{
    ScriptedNdiAccess::destroyReceiver(receiver);
}

NDIlib_frame_type_e NDIlib_recv_capture_v2(NDIlib_recv_instance_t, NDIlib_video_frame_v2_t *video,
                                           NDIlib_audio_frame_v2_t *audio, NDIlib_metadata_frame_t *metadata,
                                           uint32_t timeout)
{
    return ScriptedNdiAccess::capture(video, audio, metadata, timeout);
}

void NDIlib_recv_free_video_v2(NDIlib_recv_instance_t, const NDIlib_video_frame_v2_t *frame)
{
    ScriptedNdiAccess::free(frame->timestamp, NDIlib_frame_type_video);
}

void NDIlib_recv_free_audio_v2(NDIlib_recv_instance_t, const NDIlib_audio_frame_v2_t *frame)
{
    ScriptedNdiAccess::free(frame->timestamp, NDIlib_frame_type_audio);
}

void NDIlib_recv_free_metadata(NDIlib_recv_instance_t, const NDIlib_metadata_frame_t *frame)
{
    ScriptedNdiAccess::free(frame->timecode, NDIlib_frame_type_metadata);
}

bool NDIlib_recv_set_tally(NDIlib_recv_instance_t, const NDIlib_tally_t *tally)
{
    ScriptedNdiAccess::setTally(*tally);
    return true;
}

void NDIlib_util_audio_to_interleaved_32f_v2(const NDIlib_audio_frame_v2_t *source,
                                             NDIlib_audio_frame_interleaved_32f_t *destination)
{
    ScriptedNdiAccess::beforeInterleaving();
    destination->sample_rate = source->sample_rate;
    destination->no_channels = source->no_channels;
    destination->no_samples = source->no_samples;
    destination->timecode = source->timecode;
    const auto *const bytes = reinterpret_cast<const uint8_t *>(source->p_data);
    for (int channel = 0; channel < source->no_channels; ++channel) {
        const auto *const samples = bytes + static_cast<ptrdiff_t>(channel) * source->channel_stride_in_bytes;
        for (ptrdiff_t sample = 0; sample < source->no_samples; ++sample) // a stride may be any number of bytes
            std::memcpy(destination->p_data + sample * source->no_channels + channel, samples + sample * sizeof(float),
                        sizeof(float));
    }
}
