#pragma once

#include "Processing.NDI.Interface.h"

#include <memory>
#include <type_traits>

// Owners of what the NDI runtime hands out.

struct NdiFinderDeleter {
    void operator()(NDIlib_find_instance_t finder) const { NDIlib_find_destroy(finder); }
};
using NdiFinder = std::unique_ptr<std::remove_pointer_t<NDIlib_find_instance_t>, NdiFinderDeleter>;

struct NdiSenderDeleter {
    void operator()(NDIlib_send_instance_t sender) const { NDIlib_send_destroy(sender); }
};
using NdiSender = std::unique_ptr<std::remove_pointer_t<NDIlib_send_instance_t>, NdiSenderDeleter>;

// Gives a captured frame back to its receiver at the end of a scope, by `free`.
template <typename Frame>
class NdiFrameGuard
{
public:
    using Free = void(NDIlib_recv_instance_t, const Frame *);

    NdiFrameGuard(NDIlib_recv_instance_t receiver, const Frame &frame, Free *free)
        : m_receiver(receiver), m_frame(frame), m_free(free)
    {
    }
    NdiFrameGuard(const NdiFrameGuard &) = delete;
    NdiFrameGuard &operator=(const NdiFrameGuard &) = delete;
    ~NdiFrameGuard() { m_free(m_receiver, &m_frame); }

private:
    const NDIlib_recv_instance_t m_receiver;
    const Frame &m_frame;
    Free *const m_free;
};
