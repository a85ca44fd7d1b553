#pragma once

#include "ndi/include/Processing.NDI.Interface.h"
#include "ndi/local/Finder.h"
#include "ndi/local/Receiver.h"
#include "ndi/local/Sender.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <utility>

// What the C interface's opaque handles point to. They hold the object rather than derive from it: its IO thread calls
// its virtual functions before a derived constructor would be done.
struct NDIlib_find_instance_type {
    NDIlib_find_instance_type(bool showLocal, std::string groups) : finder(showLocal, std::move(groups)) {}
    localndi::Finder finder;
};
struct NDIlib_recv_instance_type {
    explicit NDIlib_recv_instance_type(localndi::Receiver::Settings settings) : receiver(std::move(settings)) {}
    localndi::Receiver receiver;
};
struct NDIlib_send_instance_type {
    explicit NDIlib_send_instance_type(const localndi::Sender::Settings &settings) : sender(settings) {}
    localndi::Sender sender;
};

namespace localndi
{

inline std::string textOrEmpty(const char *text)
{
    return text != nullptr ? text : "";
}

// A wait of days is as good as one that the clock's arithmetic cannot carry.
inline std::chrono::milliseconds waitTime(std::uint32_t milliseconds)
{
    return std::chrono::milliseconds(std::min(milliseconds, UINT32_C(1'000'000'000)));
}

// No exception leaves the C interface: a handle that cannot be made is null.
template <typename Instance, typename... Arguments>
Instance *makeHandle(Arguments &&...arguments)
{
    try {
        return std::make_unique<Instance>(std::forward<Arguments>(arguments)...).release();
    } catch (const std::exception &) {
        return nullptr;
    }
}

template <typename Instance>
void destroyHandle(Instance *instance)
{
    const std::unique_ptr<Instance> owned(instance);
}

} // namespace localndi
