#include "ndi/local/Faults.h"

#include "ndi/local/System.h"

#include <charconv>

namespace localndi
{
namespace
{

constexpr std::int64_t most = 1'000'000;

std::int64_t numberIn(const std::string &text)
{
    std::int64_t number = 0;
    const auto *end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && last == end && number >= 1 && number <= most ? number : 0;
}

} // namespace

Faults readFaults(const std::function<std::string(const char *name)> &variable)
{
    Faults read;
    const auto number = [&](const char *name) {
        const auto value = numberIn(variable(name));
        if (value != 0)
            read.description += (read.description.empty() ? "" : " ") + (name + ("=" + std::to_string(value)));
        return value;
    };
    read.sendTime = std::chrono::milliseconds(number("NDI_LOCAL_SEND_MS"));
    read.deafTime = std::chrono::seconds(number("NDI_LOCAL_DEAF_FINDER_S"));
    read.jitter = std::chrono::milliseconds(number("NDI_LOCAL_JITTER_MS"));
    read.lossPeriod = number("NDI_LOCAL_LOSS");
    return read;
}

const Faults &faults()
{
    static const Faults ofThisProcess = readFaults(system::environmentVariable);
    return ofThisProcess;
}

} // namespace localndi
