#pragma once

#include "ndi/local/SenderRecord.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <type_traits>

// What a sender and those connected to it say to each other over a loopback connection. Both ends are on one machine:
// records travel as they lie in memory. Pixels, samples and the text attached to them stay in shared memory; an
// announcement says where.
namespace localndi
{

constexpr std::uint32_t protocolMagic = 0x3143444E; // "NDC1"
constexpr std::size_t maximumMetadata = 4 << 20;    // bytes of a text, its terminating zero included

enum class MessageType : std::uint32_t {
    Hello = 1, // to the sender: Hello
    Welcome,   // from the sender: Welcome
    Video,     // from the sender: VideoAnnouncement
    Audio,     // from the sender: AudioAnnouncement
    Metadata,  // from the sender: MetadataHeader, text
    Release,   // to the sender: Release
    Tally,     // to the sender: TallyState
};

struct MessageHeader {
    MessageType type;
    std::uint32_t bodySize;
};

enum class Role : std::uint32_t {
    Finder,
    Receiver,
    Inquirer, // goes when it is welcome: who asks has a connection already
};

// The kinds of frames a receiver wants; bits.
enum Kinds : std::uint32_t { kindVideo = 1, kindAudio = 2, kindMetadata = 4 };

struct Hello {
    std::uint32_t magic;
    Role role;
    std::uint32_t kinds;
    std::uint32_t processId;
    Secret password;
};

struct Welcome {
    Secret signature;
};

enum class SlotKind : std::uint32_t { Video, Audio };

// A frame's place in shared memory. The generation counts the files a slot had: a grown slot is another file.
struct SlotPlace {
    SlotKind kind;
    std::uint32_t index;
    std::uint32_t generation;
    std::uint32_t metadataSize; // bytes with the terminating zero, behind the data; 0: none
    std::uint64_t dataSize;     // bytes from the start of the slot
};

struct VideoAnnouncement {
    SlotPlace place;
    std::int64_t timecode;
    std::int64_t timestamp;
    std::int32_t width;
    std::int32_t height;
    std::int32_t fourCC;
    std::int32_t rateN;
    std::int32_t rateD;
    std::int32_t format; // interleaved frames lie in the slot as two pictures of half the height
    float aspect;
    std::uint32_t reserved;
};

struct AudioAnnouncement {
    SlotPlace place;
    std::int64_t timecode;
    std::int64_t timestamp;
    std::int32_t sampleRate;
    std::int32_t channels;
    std::int32_t samples;
    std::uint32_t reserved;
};

struct MetadataHeader {
    std::int64_t timecode;
};

struct Release {
    SlotKind kind;
    std::uint32_t index;
};

struct TallyState {
    std::uint32_t onProgram;
    std::uint32_t onPreview;
};

// How many frames of a kind may wait in a queue, at the sender or at a receiver.
constexpr std::size_t queueLimit(MessageType type)
{
    return type == MessageType::Metadata ? 256 : 9;
}

// How many slots of a kind a receiver keeps, those that its application holds and those in its queue.
constexpr std::size_t keptLimit(MessageType type)
{
    return type == MessageType::Video ? 17 : 64;
}

// One more is on its way: while a receiver gives back what is beyond its limit, nothing waits for it at the sender.
constexpr std::size_t announcedLimit(MessageType type)
{
    return keptLimit(type) + 1;
}

// Where the text of a frame begins in its slot.
constexpr std::uint64_t metadataOffset(std::uint64_t dataSize)
{
    return (dataSize + 63) / 64 * 64;
}

// A record out of a message of exactly its size.
template <typename Record>
std::optional<Record> readRecord(std::string_view body)
{
    static_assert(std::is_trivially_copyable_v<Record>);
    if (body.size() != sizeof(Record))
        return std::nullopt;
    Record record;
    std::memcpy(&record, body.data(), sizeof record);
    return record;
}

template <typename Record>
std::string_view bytesOf(const Record &record)
{
    static_assert(std::is_trivially_copyable_v<Record>);
    return {reinterpret_cast<const char *>(&record), sizeof record};
}

} // namespace localndi
