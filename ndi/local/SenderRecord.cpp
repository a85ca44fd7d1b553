#include "ndi/local/SenderRecord.h"

#include <algorithm>
#include <cstring>
#include <random>

namespace localndi
{
namespace
{

constexpr std::uint32_t recordMagic = 0x4C49444E; // "NDIL"
constexpr std::uint32_t recordVersion = 1;
constexpr std::size_t stemBytes = 8; // of the identity, enough to tell senders apart

// The fixed part of a record file; name and groups follow.
struct RecordHeader {
    std::uint32_t magic;
    std::uint32_t version;
    std::uint32_t port;
    std::uint32_t processId;
    Secret identity;
    Secret password;
    Secret signature;
    std::uint32_t nameSize;
    std::uint32_t groupsSize;
};

} // namespace

Secret makeSecret()
{
    std::random_device device;
    Secret secret;
    std::generate(secret.begin(), secret.end(), [&device] { return static_cast<std::uint8_t>(device()); });
    return secret;
}

bool sameSecret(const Secret &a, const Secret &b)
{
    unsigned difference = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        difference |= static_cast<unsigned>(a[i] ^ b[i]);
    return difference == 0;
}

std::string SenderRecord::fileStem() const
{
    constexpr char digits[] = "0123456789abcdef";
    std::string stem;
    for (std::size_t i = 0; i < stemBytes; ++i) {
        stem += digits[identity[i] >> 4];
        stem += digits[identity[i] & 15];
    }
    return stem;
}

std::string SenderRecord::address() const
{
    return "127.0.0.1:" + std::to_string(port);
}

std::string serialise(const SenderRecord &record)
{
    RecordHeader header{};
    header.magic = recordMagic;
    header.version = recordVersion;
    header.port = record.port;
    header.processId = record.processId;
    header.identity = record.identity;
    header.password = record.password;
    header.signature = record.signature;
    header.nameSize = static_cast<std::uint32_t>(record.name.size());
    header.groupsSize = static_cast<std::uint32_t>(record.groups.size());
    std::string bytes(sizeof header, '\0');
    std::memcpy(bytes.data(), &header, sizeof header);
    return bytes + record.name + record.groups;
}

std::optional<SenderRecord> parseSenderRecord(std::string_view bytes)
{
    RecordHeader header{};
    if (bytes.size() < sizeof header)
        return std::nullopt;
    std::memcpy(&header, bytes.data(), sizeof header);
    if (header.magic != recordMagic || header.version != recordVersion || header.port == 0 || header.port > UINT16_MAX)
        return std::nullopt;
    if (header.nameSize == 0 || header.nameSize > SenderRecord::maximumText ||
        header.groupsSize > SenderRecord::maximumText ||
        bytes.size() != sizeof header + header.nameSize + header.groupsSize)
        return std::nullopt;
    SenderRecord record;
    record.name = bytes.substr(sizeof header, header.nameSize);
    record.groups = bytes.substr(sizeof header + header.nameSize);
    record.port = static_cast<std::uint16_t>(header.port);
    record.processId = header.processId;
    record.identity = header.identity;
    record.password = header.password;
    record.signature = header.signature;
    return record;
}

} // namespace localndi
