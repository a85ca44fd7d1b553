#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace localndi
{

// 256 random bits that only this user can read.
using Secret = std::array<std::uint8_t, 32>;

Secret makeSecret();
// Takes the same time wherever the two differ.
bool sameSecret(const Secret &a, const Secret &b);

// What a sender leaves in the registry for those who look for it.
struct SenderRecord {
    static constexpr std::size_t maximumText = 4096; // bytes of name and of groups

    std::string name; // as listed: `HOST (Name)`
    std::string groups;
    std::uint16_t port = 0;
    std::uint32_t processId = 0;
    Secret identity{};  // names the sender's frame files, tells it from an earlier one on the same port
    Secret password{};  // shown by who connects to the sender
    Secret signature{}; // shown by the sender in return: some other program may have taken the port since

    std::string fileStem() const; // of the frame files
    std::string address() const;  // as listed: `127.0.0.1:5961`
};

std::string serialise(const SenderRecord &record);
// Empty for anything but a complete record of this version.
std::optional<SenderRecord> parseSenderRecord(std::string_view bytes);

} // namespace localndi
