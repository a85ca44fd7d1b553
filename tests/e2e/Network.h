#pragma once

#include <Processing.NDI.Interface.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

// The senders that are listed. Used by one thread.
class Network
{
public:
    Network()
    {
        const NDIlib_find_create_t settings;
        m_finder = NDIlib_find_create_v2(&settings);
    }
    Network(const Network &) = delete;
    Network &operator=(const Network &) = delete;
    ~Network() { NDIlib_find_destroy(m_finder); }

    // Those with this text in their names, which stay valid until the next call.
    std::vector<NDIlib_source_t> senders(const std::string &text)
    {
        std::uint32_t count = 0;
        const NDIlib_source_t *const sources = NDIlib_find_get_current_sources(m_finder, &count);
        std::vector<NDIlib_source_t> found;
        std::copy_if(sources, sources + count, std::back_inserter(found), [&text](const NDIlib_source_t &source) {
            return std::strstr(source.p_ndi_name, text.c_str()) != nullptr;
        });
        return found;
    }
    // The same after the next change of the list, or after so many milliseconds without one.
    std::vector<NDIlib_source_t> sendersAfter(std::uint32_t wait, const std::string &text)
    {
        NDIlib_find_wait_for_sources(m_finder, wait);
        return senders(text);
    }

private:
    NDIlib_find_instance_t m_finder;
};
